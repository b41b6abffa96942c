// Addresses: digits two to an octet, names in packed septets.
#include "Address.h"

#include "Fields.h"
#include "Septets.h"

#include <algorithm>
#include <cstring>

namespace sms_pdu {
namespace {

const BYTE kEndMark = 0x0F;
const char kDigits[] = "0123456789*#abc";
const std::size_t kNameSeptets = kAddressDigits * 4 / 7;

BYTE TypeOctet(const Address& address) {
  return static_cast<BYTE>(0x80 | (address.typeOfNumber & 0x07) << 4 | (address.numberingPlan & 0x0F));
}

void SetType(BYTE octet, Address* out) {
  out->typeOfNumber = octet >> 4 & 0x07;
  out->numberingPlan = octet & 0x0F;
}

/// A digit's value, or kEndMark for what is none.
BYTE DigitOf(VELK_wchar_t unit) {
  if (unit >= '0' && unit <= '9') return static_cast<BYTE>(unit - '0');
  for (BYTE value = 10; value < kEndMark; ++value) {
    if (unit == static_cast<VELK_wchar_t>(kDigits[value])) return value;
  }
  return kEndMark;
}

bool IsSeparator(VELK_wchar_t unit) {
  return unit != 0 && unit < 0x80 && std::strchr(" -./()", static_cast<char>(unit));
}

void DecodeDigits(const BYTE* octets, std::size_t count, Address* out, unsigned* defects) {
  const bool empty = count == 0 || (octets[0] & 0x0F) == kEndMark;
  if (out->typeOfNumber == kTonInternational && !empty) out->text[out->length++] = u'+';
  for (std::size_t i = 0; i < count; ++i) {
    const BYTE digit = i % 2 == 0 ? octets[i / 2] & 0x0F : octets[i / 2] >> 4;
    if (digit == kEndMark) {
      if (i + 1 != count) *defects |= kDefectAddress;
      return;
    }
    out->text[out->length++] = static_cast<VELK_wchar_t>(kDigits[digit]);
  }
}

/// @param semiOctets  the length as it stands in front: seven bits a character, rounded up to half octets. Some centres
///                    round seven characters up to whole octets; the eighth, all zero, is not a character then.
void DecodeName(const BYTE* octets, std::size_t semiOctets, Address* out) {
  BYTE septets[kNameSeptets];
  std::size_t count = semiOctets * 4 / 7;
  UnpackSeptets(octets, (semiOctets + 1) / 2, 0, septets, count);
  if (count == 8 && septets[7] == 0) --count;
  out->length = static_cast<BYTE>(SeptetsToText(septets, count, SMS_NLI(), out->text));
}

void DecodeValue(const BYTE* octets, std::size_t semiOctets, Address* out, unsigned* defects) {
  if (out->typeOfNumber == kTonAlphanumeric) {
    DecodeName(octets, semiOctets, out);
  } else {
    DecodeDigits(octets, semiOctets, out, defects);
  }
}

/// The value of an address, at most 10 octets.
struct Value {
  std::size_t semiOctets = 0;
  BYTE octets[kAddressDigits / 2] = {};
};

PduError EncodeDigits(const Address& address, Value* out) {
  const std::size_t first = address.length != 0 && address.text[0] == u'+' ? 1 : 0;
  const std::size_t count = address.length - first;
  if (count > kAddressDigits) return PduError::TooLong;
  for (std::size_t i = 0; i < count; ++i) {
    const BYTE digit = DigitOf(address.text[first + i]);
    if (digit == kEndMark) return PduError::UnencodableAddress;
    out->octets[i / 2] = i % 2 == 0 ? static_cast<BYTE>(kEndMark << 4 | digit)
                                    : static_cast<BYTE>((out->octets[i / 2] & 0x0F) | digit << 4);
  }
  out->semiOctets = count;
  return PduError::None;
}

PduError EncodeName(const Address& address, Value* out) {
  BYTE septets[kNameSeptets];
  std::size_t count = 0;
  const PduError error = TextToSeptets(address.text, address.length, SMS_NLI(), septets, kNameSeptets, &count);
  if (error == PduError::UnencodableCharacter) return PduError::UnencodableAddress;
  if (error != PduError::None) return error;
  PackSeptets(septets, count, 0, out->octets);
  out->semiOctets = (count * 7 + 3) / 4;
  return PduError::None;
}

PduError EncodeValue(const Address& address, Value* out) {
  if (address.length > kAddressTextUnits) return PduError::TooLong;
  return address.typeOfNumber == kTonAlphanumeric ? EncodeName(address, out) : EncodeDigits(address, out);
}

/// Digits with separators left out; false: not a number.
bool ReadNumber(const VELK_wchar_t* text, std::size_t length, Address* out, PduError* error) {
  const bool international = text[0] == u'+';
  std::size_t digits = 0;
  for (std::size_t i = international ? 1 : 0; i < length; ++i) {
    const bool digit = (text[i] >= '0' && text[i] <= '9') || text[i] == '*' || text[i] == '#';
    if (!digit && !IsSeparator(text[i])) return false;
    if (!digit) continue;
    if (digits < kAddressDigits) out->text[digits + (international ? 1 : 0)] = text[i];
    ++digits;
  }
  if (digits == 0) return false;
  if (international) out->text[0] = u'+';
  out->typeOfNumber = international ? kTonInternational : kTonUnknown;
  out->numberingPlan = kNpiTelephone;
  out->length = static_cast<BYTE>(std::min(digits, kAddressDigits) + (international ? 1 : 0));
  *error = digits > kAddressDigits ? PduError::TooLong : PduError::None;
  return true;
}

}  // namespace

PduError ReadAddress(COctetReader& reader, Address* out, unsigned* defects) {
  BYTE semiOctets = 0;
  BYTE type = 0;
  if (!reader.Take(&semiOctets) || !reader.Take(&type)) return PduError::Truncated;
  if (semiOctets > kAddressDigits) return PduError::TooLong;
  const BYTE* const octets = reader.Take((semiOctets + 1U) / 2);
  if (!octets) return PduError::Truncated;
  SetType(type, out);
  DecodeValue(octets, semiOctets, out, defects);
  return PduError::None;
}

PduError WriteAddress(COctetWriter& writer, const Address& address) {
  Value value;
  const PduError error = EncodeValue(address, &value);
  if (error != PduError::None) return error;
  writer.Put(static_cast<BYTE>(value.semiOctets));
  writer.Put(TypeOctet(address));
  writer.Put(value.octets, (value.semiOctets + 1) / 2);
  return PduError::None;
}

PduError MakeAddress(const VELK_wchar_t* text, std::size_t length, Address* out) {
  *out = Address();
  if (!text || length == 0) return PduError::None;
  PduError error = PduError::None;
  if (ReadNumber(text, length, out, &error)) {
    if (error != PduError::None) *out = Address();
    return error;
  }
  *out = Address();
  if (text[0] == u'+' && length == 1) return PduError::UnencodableAddress;
  if (length > kNameSeptets) return PduError::TooLong;
  out->typeOfNumber = kTonAlphanumeric;
  out->length = static_cast<BYTE>(length);
  std::copy_n(text, length, out->text);
  Value value;
  error = EncodeName(*out, &value);
  if (error != PduError::None) *out = Address();
  return error;
}

PduError MakeAddress(const char* text, Address* out) {
  const std::size_t length = text ? std::strlen(text) : 0;
  VELK_wchar_t units[64];
  if (length > sizeof units / sizeof units[0]) {
    *out = Address();
    return PduError::TooLong;
  }
  std::transform(text, text + length, units, [](char c) { return static_cast<VELK_wchar_t>(static_cast<BYTE>(c)); });
  return MakeAddress(units, length, out);
}

void AddressToAscii(const Address& address, char* out, std::size_t capacity) {
  if (!out || capacity == 0) return;
  const std::size_t count = std::min<std::size_t>({address.length, kAddressTextUnits, capacity - 1});
  for (std::size_t i = 0; i < count; ++i) {
    const VELK_wchar_t unit = address.text[i];
    out[i] = unit >= 0x20 && unit < 0x7F ? static_cast<char>(unit) : '?';
  }
  out[count] = '\0';
}

PduError DecodeServiceCentre(const BYTE* octets, std::size_t size, Address* out, std::size_t* consumed,
                             unsigned* defects) {
  *out = Address();
  *consumed = 0;
  COctetReader reader(octets, size);
  BYTE length = 0;
  if (!reader.Take(&length)) return PduError::Truncated;
  // Here the length counts octets, the type among them (3GPP TS 24.011, 8.2.5.1).
  if (length > 1 + kAddressDigits / 2) return PduError::TooLong;
  const BYTE* const value = reader.Take(length);
  if (!value) return PduError::Truncated;
  if (length != 0) {
    SetType(value[0], out);
    DecodeValue(value + 1, (length - 1U) * 2, out, defects);
  }
  *consumed = length + 1U;
  return PduError::None;
}

PduError EncodeServiceCentre(const Address& address, BYTE* out, std::size_t capacity, std::size_t* written) {
  *written = 0;
  Value value;
  const PduError error = EncodeValue(address, &value);
  if (error != PduError::None) return error;
  const std::size_t octets = (value.semiOctets + 1) / 2;
  COctetWriter writer(out, capacity);
  writer.Put(static_cast<BYTE>(octets == 0 ? 0 : octets + 1));
  if (octets != 0) writer.Put(TypeOctet(address));
  writer.Put(value.octets, octets);
  if (writer.Overflowed()) return PduError::BufferTooSmall;
  *written = writer.Written();
  return PduError::None;
}

}  // namespace sms_pdu
