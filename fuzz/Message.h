// The property of a decoder of messages, and of the encoder that belongs to it.
#pragma once

#include "Equal.h"
#include "Property.h"

namespace fuzz {

/// Input: the size of the encoder's buffer, then the octets of a message. They decode to a message or to an error with
/// a fresh value; a message encodes, and what is encoded decodes to an equal message without a defect.
template <class Message>
int TryMessage(sms_pdu::PduError (*decode)(const BYTE*, std::size_t, Message*),
               sms_pdu::PduError (*encode)(const Message&, BYTE*, std::size_t, std::size_t*), std::size_t longest,
               const std::uint8_t* data, std::size_t size) {
  using sms_pdu::PduError;
  CInput input(data, size);
  const std::size_t capacity = input.Octet();
  CBlock<BYTE> octets(input.Rest(), input.Left());
  const auto message = std::make_unique<Message>();
  if (decode(octets.Data(), octets.Size(), message.get()) != PduError::None) {
    Require(Equal(*message, Message()) && message->defects == sms_pdu::kDefectNone, "an error leaves a fresh value");
    return 0;
  }
  CBlock<BYTE> whole(longest);
  std::size_t needed = 0;
  Require(encode(*message, whole.Data(), longest, &needed) == PduError::None, "a decoded message encodes");
  const auto again = std::make_unique<Message>();
  CBlock<BYTE> exact(whole.Data(), needed);
  Require(decode(exact.Data(), needed, again.get()) == PduError::None, "an encoded message decodes");
  Require(Equal(*message, *again), "an encoded message says the same");
  RequireBounded<PduError>(
      [&](BYTE* out, std::size_t room, std::size_t* written) { return encode(*message, out, room, written); },
      whole.Data(), needed, capacity);
  return 0;
}

}  // namespace fuzz
