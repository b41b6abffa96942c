// Messages of a text or of octets.
#include "Delivery.h"

#include "Pieces.h"

#include <algorithm>

namespace modem_sim {
namespace {

const std::size_t kMostParts = 255;

sms_pdu::Deliver Envelope(const Delivery& delivery) {
  sms_pdu::Deliver message;
  message.originator = delivery.from;
  message.protocolId = delivery.protocolId;
  message.time = delivery.time;
  message.userData.dcs = sms_pdu::MakeDataCoding(delivery.coding, delivery.messageClass);
  sms_pdu::Ports ports;
  ports.destination = delivery.port;
  ports.source = delivery.port;
  if (delivery.port != 0) sms_pdu::AddPorts(&message.userData.header, ports);
  return message;
}

void AddPlace(const Delivery& delivery, std::size_t sequence, std::size_t total, sms_pdu::Deliver* message) {
  sms_pdu::Concatenation place;
  place.reference = delivery.reference;
  place.wide = delivery.wideReference;
  place.sequence = static_cast<BYTE>(sequence);
  place.total = static_cast<BYTE>(total);
  sms_pdu::AddConcatenation(&message->userData.header, place);
}

std::vector<std::vector<BYTE>> OctetPieces(const std::vector<BYTE>& data, std::size_t capacity) {
  std::vector<std::vector<BYTE>> pieces;
  std::size_t start = 0;
  do {
    const std::size_t end = std::min(start + capacity, data.size());
    pieces.emplace_back(data.begin() + static_cast<std::ptrdiff_t>(start),
                        data.begin() + static_cast<std::ptrdiff_t>(end));
    start = end;
  } while (start < data.size());
  return pieces;
}

/// The contents that fit behind the header of this message, one after another.
std::vector<sms_pdu::UserData> Contents(const Delivery& delivery, const sms_pdu::Deliver& envelope) {
  std::vector<sms_pdu::UserData> contents;
  const std::size_t capacity = sms_pdu::ContentCapacity(envelope.userData);
  if (delivery.coding == sms_pdu::Coding::Octets) {
    for (const std::vector<BYTE>& piece : OctetPieces(delivery.data, capacity)) {
      contents.push_back(envelope.userData);
      sms_pdu::SetOctets(&contents.back(), piece.data(), piece.size());
    }
    return contents;
  }
  const bool gsm7 = delivery.coding == sms_pdu::Coding::Gsm7;
  for (const VELK_wstring& piece :
       gsm7 ? Gsm7Pieces(delivery.text, capacity) : Ucs2Pieces(delivery.text, capacity / 2)) {
    contents.push_back(envelope.userData);
    sms_pdu::SetText(&contents.back(), piece.data(), piece.size());
  }
  return contents;
}

}  // namespace

bool Divide(const Delivery& delivery, std::vector<sms_pdu::Deliver>* out, std::string* error) {
  out->clear();
  if (delivery.coding == sms_pdu::Coding::Gsm7 && !FitsGsm7(delivery.text)) {
    *error = "the text has characters that the GSM alphabet lacks; leave \"alphabet\" out, or choose \"ucs2\"";
    return false;
  }
  sms_pdu::Deliver envelope = Envelope(delivery);
  std::vector<sms_pdu::UserData> contents = Contents(delivery, envelope);
  const bool several = contents.size() > 1;
  if (several) {
    AddPlace(delivery, 1, kMostParts, &envelope);  // to see how much room a part has
    contents = Contents(delivery, envelope);
  }
  if (contents.size() > kMostParts) {
    *error = "takes " + std::to_string(contents.size()) + " parts; a message has at most 255";
    return false;
  }
  for (std::size_t i = 0; i < contents.size(); ++i) {
    sms_pdu::Deliver message = Envelope(delivery);
    if (several) AddPlace(delivery, i + 1, contents.size(), &message);
    const sms_pdu::UserDataHeader header = message.userData.header;
    message.userData = contents[i];
    message.userData.header = header;
    message.moreMessages = i + 1 < contents.size();
    out->push_back(message);
  }
  return true;
}

}  // namespace modem_sim
