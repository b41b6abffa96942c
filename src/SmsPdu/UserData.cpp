// Content and header of a message.
#include "UserData.h"

#include "Fields.h"

#include <algorithm>

namespace sms_pdu {
namespace {

/// Octets of the header with its length octet; none when there is no header.
std::size_t HeaderSize(const UserDataHeader& header) { return header.length == 0 ? 0 : header.length + 1U; }

bool CountsSeptets(const DataCoding& coding) { return coding.coding == Coding::Gsm7 && !coding.compressed; }
bool HoldsUcs2(const DataCoding& coding) { return coding.coding == Coding::Ucs2 && !coding.compressed; }

/// Finds the header in front of the content.
/// @return its size with the length octet; 0 when it is damaged, so that everything reads as content.
std::size_t ReadHeader(const BYTE* octets, std::size_t size, UserDataHeader* out, unsigned* defects) {
  if (size == 0 || octets[0] > size - 1) {
    *defects |= kDefectHeader;
    return 0;
  }
  out->length = octets[0];
  std::copy_n(octets + 1, out->length, out->octets);
  std::size_t position = 0;
  HeaderElement element;
  while (NextElement(*out, &position, &element)) continue;
  if (position != out->length) *defects |= kDefectHeader;
  return out->length + 1U;
}

/// @param septets  of the whole user data, header included.
void ReadGsm7(const BYTE* octets, std::size_t size, std::size_t septets, std::size_t headerSize, UserData* out) {
  const std::size_t before = HeaderSeptets(headerSize);
  if (septets <= before) return;
  BYTE content[kMaxSeptets];
  const std::size_t count = septets - before;
  UnpackSeptets(octets + headerSize, size - headerSize, FillBits(headerSize), content, count);
  out->textLength = static_cast<BYTE>(SeptetsToText(content, count, FindTables(out->header), out->text));
}

void ReadUcs2(const BYTE* octets, std::size_t size, UserData* out, unsigned* defects) {
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    out->text[out->textLength++] = static_cast<VELK_wchar_t>(octets[i] << 8 | octets[i + 1]);
  }
  if (size % 2 != 0) *defects |= kDefectUserDataCut;
}

PduError WriteGsm7(COctetWriter& writer, const UserData& userData) {
  const std::size_t headerSize = HeaderSize(userData.header);
  BYTE septets[kMaxSeptets];
  std::size_t count = 0;
  const PduError error = TextToSeptets(userData.text, userData.textLength, FindTables(userData.header), septets,
                                       ContentCapacity(userData), &count);
  if (error != PduError::None) return error;
  writer.Put(static_cast<BYTE>(HeaderSeptets(headerSize) + count));
  if (headerSize != 0) writer.Put(userData.header.length);
  writer.Put(userData.header.octets, userData.header.length);
  const unsigned fillBits = FillBits(headerSize);
  if (BYTE* const room = writer.Room(PackedOctets(count, fillBits))) PackSeptets(septets, count, fillBits, room);
  return PduError::None;
}

PduError WriteOctets(COctetWriter& writer, const UserData& userData, bool ucs2) {
  const std::size_t count = ucs2 ? userData.textLength * 2U : userData.octetCount;
  if (count > ContentCapacity(userData)) return PduError::TooLong;
  writer.Put(static_cast<BYTE>(HeaderSize(userData.header) + count));
  if (userData.header.length != 0) writer.Put(userData.header.length);
  writer.Put(userData.header.octets, userData.header.length);
  if (!ucs2) {
    writer.Put(userData.octets, count);
    return PduError::None;
  }
  for (std::size_t i = 0; i < userData.textLength; ++i) {
    writer.Put(static_cast<BYTE>(userData.text[i] >> 8));
    writer.Put(static_cast<BYTE>(userData.text[i] & 0xFF));
  }
  return PduError::None;
}

bool FitsAsGsm7(const UserData& userData) {
  BYTE septets[kMaxSeptets];
  std::size_t count = 0;
  return TextToSeptets(userData.text, userData.textLength, FindTables(userData.header), septets,
                       ContentCapacity(userData), &count) == PduError::None;
}

}  // namespace

PduError SetText(UserData* userData, const VELK_wchar_t* text, std::size_t length) {
  if (length > kTextUnits) return PduError::TooLong;
  if (length != 0) std::copy_n(text, length, userData->text);
  userData->text[length] = 0;
  userData->textLength = static_cast<BYTE>(length);
  return PduError::None;
}

PduError SetNationalText(UserData* userData, const VELK_wchar_t* text, std::size_t length, const SMS_NLI& tables) {
  const PduError error = SetText(userData, text, length);
  if (error != PduError::None) return error;
  const SMS_NLI choices[] = {
      tables,    {tables.enNLI_Lock, SMS_NLI_Single_Reverse}, {SMS_NLI_Lock_Reverse, tables.enNLI_Single},
      SMS_NLI(), {SMS_NLI_Turk_Lock, SMS_NLI_Single_Reverse}, {SMS_NLI_Port_Lock, SMS_NLI_Single_Reverse}};
  const UserDataHeader before = userData->header;
  for (const SMS_NLI& choice : choices) {
    userData->header = before;
    if (AddTables(&userData->header, choice) && FitsAsGsm7(*userData)) return PduError::None;
  }
  userData->header = before;
  AddTables(&userData->header, tables);
  return PduError::None;
}

PduError SetOctets(UserData* userData, const BYTE* octets, std::size_t count) {
  if (count > kUserDataOctets) return PduError::TooLong;
  if (count != 0) std::copy_n(octets, count, userData->octets);
  userData->octetCount = static_cast<BYTE>(count);
  return PduError::None;
}

std::size_t ContentCapacity(const UserData& userData) {
  const std::size_t headerSize = HeaderSize(userData.header);
  if (headerSize > kUserDataOctets) return 0;
  const bool septets = CountsSeptets(ParseDataCoding(userData.dcs));
  return septets ? kMaxSeptets - HeaderSeptets(headerSize) : kUserDataOctets - headerSize;
}

PduError ReadUserData(COctetReader& reader, bool hasHeader, UserData* out, unsigned* defects) {
  BYTE length = 0;
  if (!reader.Take(&length)) return PduError::Truncated;
  const DataCoding coding = ParseDataCoding(out->dcs);
  const bool septets = CountsSeptets(coding);
  const std::size_t announced = septets ? PackedOctets(length, 0) : length;
  const std::size_t size = std::min({announced, kUserDataOctets, reader.Left()});
  if (size != announced) *defects |= kDefectUserDataCut;
  const BYTE* const octets = reader.Take(size);
  const std::size_t headerSize = hasHeader ? ReadHeader(octets, size, &out->header, defects) : 0;
  if (septets) {
    ReadGsm7(octets, size, std::min<std::size_t>(length, size * 8 / 7), headerSize, out);
  } else if (HoldsUcs2(coding)) {
    ReadUcs2(octets + headerSize, size - headerSize, out, defects);
  } else {
    out->octetCount = static_cast<BYTE>(size - headerSize);
    std::copy_n(octets + headerSize, out->octetCount, out->octets);
  }
  return PduError::None;
}

PduError WriteUserData(COctetWriter& writer, const UserData& userData) {
  if (userData.header.length > kHeaderOctets || userData.textLength > kTextUnits ||
      userData.octetCount > kUserDataOctets) {
    return PduError::TooLong;
  }
  const DataCoding coding = ParseDataCoding(userData.dcs);
  return CountsSeptets(coding) ? WriteGsm7(writer, userData) : WriteOctets(writer, userData, HoldsUcs2(coding));
}

}  // namespace sms_pdu
