// Cell-broadcast pages.
#include "CellBroadcast.h"

#include "Fields.h"
#include "Octets.h"
#include "Septets.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace sms_pdu {
namespace {

const BYTE kGsm7BehindLanguage = 0x10;
const BYTE kUcs2BehindLanguage = 0x11;
const BYTE kBroadcastMessage = 0x01;  // message type of UMTS, 9.4.2.2.1
const VELK_wchar_t kFill = u'\r';

const std::size_t kLanguageSeptets = 3;  // two letters and a carriage return
const std::size_t kLanguageOctets = 2;   // two letters as septets

WORD Word(BYTE high, BYTE low) { return static_cast<WORD>(high << 8 | low); }

bool IsLetter(VELK_wchar_t unit) { return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z'); }

/// Some networks put a line break where the language belongs: that names none.
void SetLanguage(VELK_wchar_t first, VELK_wchar_t second, BroadcastPage* out) {
  if (!IsLetter(first) || !IsLetter(second)) return;
  out->language[0] = static_cast<char>(first);
  out->language[1] = static_cast<char>(second);
}

BYTE LanguageSeptet(const BroadcastPage& page, std::size_t index) {
  return static_cast<BYTE>(page.language[0] == '\0' ? kFill : static_cast<BYTE>(page.language[index]));
}

bool HoldsOctets(const PageCoding& coding) { return coding.coding == Coding::Octets || coding.compressed; }

/// @return octets of the header with its length octet; one that runs past the page is none.
std::size_t ReadHeader(const BYTE* octets, std::size_t size, UserDataHeader* out) {
  if (size == 0) return 0;
  if (octets[0] < size) out->length = octets[0];
  std::copy_n(octets + 1, out->length, out->octets);
  return out->length + 1U;
}

/// @param headerSize  octets in front that are no text.
void ReadGsm7(const BYTE* octets, std::size_t size, std::size_t headerSize, bool languageInFront, BroadcastPage* out) {
  const std::size_t before = HeaderSeptets(headerSize);
  const std::size_t all = std::min(size * 8 / 7, kPageUnits);
  if (all <= before) return;
  BYTE septets[kPageUnits];
  const std::size_t count = all - before;
  UnpackSeptets(octets + headerSize, size - headerSize, FillBits(headerSize), septets, count);
  const std::size_t front = languageInFront ? std::min(count, kLanguageSeptets) : 0;
  if (front == kLanguageSeptets) SetLanguage(septets[0], septets[1], out);
  out->textLength =
      static_cast<BYTE>(SeptetsToText(septets + front, count - front, FindTables(out->header), out->text));
}

void ReadUcs2(const BYTE* octets, std::size_t size, bool languageInFront, BroadcastPage* out) {
  const std::size_t front = languageInFront ? std::min(size, kLanguageOctets) : 0;
  if (front == kLanguageOctets) {
    BYTE letters[2];
    UnpackSeptets(octets, kLanguageOctets, 0, letters, 2);
    SetLanguage(letters[0], letters[1], out);
  }
  for (std::size_t i = front; i + 1 < size; i += 2) out->text[out->textLength++] = Word(octets[i], octets[i + 1]);
}

void LeaveOutFill(BroadcastPage* out) {
  BYTE& length = out->textLength;
  while (length != 0 && (out->text[length - 1] == kFill || out->text[length - 1] == 0)) --length;
  std::fill(out->text + length, out->text + kPageUnits + 1, VELK_wchar_t(0));
}

void ReadContent(const BYTE* octets, std::size_t size, BroadcastPage* out) {
  const PageCoding coding = ParsePageCoding(out->dcs);
  std::memcpy(out->language, coding.language, std::strlen(coding.language));
  const std::size_t headerSize = coding.headerInFront ? ReadHeader(octets, size, &out->header) : 0;
  if (HoldsOctets(coding)) {
    out->octetCount = static_cast<BYTE>(size - headerSize);
    std::copy_n(octets + headerSize, out->octetCount, out->octets);
    return;
  }
  if (coding.coding == Coding::Ucs2) {
    ReadUcs2(octets + headerSize, size - headerSize, coding.languageInFront, out);
  } else {
    ReadGsm7(octets, size, headerSize, coding.languageInFront, out);
  }
  LeaveOutFill(out);
}

PduError WriteGsm7(COctetWriter& writer, const BroadcastPage& page, std::size_t headerSize, bool languageInFront) {
  const BYTE kFillSeptet = '\r';
  BYTE septets[kPageUnits];
  std::fill_n(septets, kPageUnits, kFillSeptet);
  const std::size_t front = languageInFront ? kLanguageSeptets : 0;
  for (std::size_t i = 0; front != 0 && i < 2; ++i) septets[i] = LanguageSeptet(page, i);
  const std::size_t units = kPageUnits - std::min(kPageUnits, HeaderSeptets(headerSize));
  const SMS_NLI tables = headerSize != 0 ? FindTables(page.header) : SMS_NLI();
  std::size_t count = 0;
  const PduError error = TextToSeptets(page.text, page.textLength, tables, septets + front, units - front, &count);
  if (error != PduError::None) return error;
  BYTE* const room = writer.Room(kPageContentOctets - headerSize);
  if (room && headerSize < kPageContentOctets) PackSeptets(septets, units, FillBits(headerSize), room);
  return PduError::None;
}

PduError WriteUcs2(COctetWriter& writer, const BroadcastPage& page, std::size_t headerSize, bool languageInFront) {
  const std::size_t room = kPageContentOctets - headerSize - (languageInFront ? kLanguageOctets : 0);
  if (page.textLength > room / 2) return PduError::TooLong;
  if (languageInFront) {
    const BYTE letters[] = {LanguageSeptet(page, 0), LanguageSeptet(page, 1)};
    BYTE packed[kLanguageOctets];
    PackSeptets(letters, 2, 0, packed);
    writer.Put(packed, sizeof packed);
  }
  for (std::size_t i = 0; i < room / 2; ++i) {
    const VELK_wchar_t unit = i < page.textLength ? page.text[i] : kFill;
    writer.Put(static_cast<BYTE>(unit >> 8));
    writer.Put(static_cast<BYTE>(unit & 0xFF));
  }
  if (room % 2 != 0) writer.Put(0);
  return PduError::None;
}

PduError WriteContent(COctetWriter& writer, const BroadcastPage& page) {
  const PageCoding coding = ParsePageCoding(page.dcs);
  const std::size_t headerSize = coding.headerInFront ? page.header.length + 1U : 0;
  if (page.textLength > kPageUnits || headerSize > kPageContentOctets ||
      page.octetCount > kPageContentOctets - headerSize) {
    return PduError::TooLong;
  }
  if (coding.headerInFront) {
    writer.Put(page.header.length);
    writer.Put(page.header.octets, page.header.length);
  }
  if (HoldsOctets(coding)) {
    writer.Put(page.octets, page.octetCount);
    return PduError::None;
  }
  return coding.coding == Coding::Ucs2 ? WriteUcs2(writer, page, headerSize, coding.languageInFront)
                                       : WriteGsm7(writer, page, headerSize, coding.languageInFront);
}

}  // namespace

PageCoding ParsePageCoding(BYTE dcs) {
  static const char* const kLanguages[] = {"de", "en", "it", "fr", "es", "nl", "sv", "da",
                                           "pt", "fi", "no", "el", "tr", "hu", "pl", ""};
  static const char* const kMoreLanguages[] = {"cs", "he", "ar", "ru", "is"};
  const BYTE group = dcs >> 4;
  const BYTE low = dcs & 0x0F;
  PageCoding result;
  if (group == 0) result.language = kLanguages[low];
  if (group == 2 && low < std::size(kMoreLanguages)) result.language = kMoreLanguages[low];
  if (dcs == kGsm7BehindLanguage || dcs == kUcs2BehindLanguage) result.languageInFront = true;
  if (dcs == kUcs2BehindLanguage) result.coding = Coding::Ucs2;
  if ((group >= 4 && group <= 7) || group == 9) {
    const DataCoding general = ParseDataCoding(static_cast<BYTE>(dcs & 0x1F));  // the same bits as in a message
    result.coding = general.coding;
    result.compressed = group == 6 || group == 7;
    result.headerInFront = group == 9;
    result.messageClass = general.messageClass;
  }
  if (group == 0xF) {
    if (low & 0x04) result.coding = Coding::Octets;
    if (low & 0x03) result.messageClass = static_cast<std::int8_t>(low & 0x03);  // 0 names none here
  }
  return result;
}

PduError DecodePage(const BYTE* octets, std::size_t size, BroadcastPage* out) {
  *out = BroadcastPage();
  if (size > kPageOctets) return PduError::TooLong;
  COctetReader reader(octets, size);
  const BYTE* const head = reader.Take(kPageOctets - kPageContentOctets);
  if (!head) return PduError::Truncated;
  out->serial = Word(head[0], head[1]);
  out->messageId = Word(head[2], head[3]);
  out->dcs = head[4];
  const BYTE page = head[5] >> 4;
  const BYTE pages = head[5] & 0x0F;
  if (page != 0 && page <= pages) {
    out->page = page;
    out->pages = pages;
  }
  const std::size_t left = reader.Left();
  ReadContent(reader.Take(left), left, out);
  return PduError::None;
}

PduError EncodePage(const BroadcastPage& page, BYTE* out, std::size_t capacity, std::size_t* written) {
  *written = 0;
  COctetWriter writer(out, capacity);
  const BYTE head[] = {static_cast<BYTE>(page.serial >> 8),
                       static_cast<BYTE>(page.serial & 0xFF),
                       static_cast<BYTE>(page.messageId >> 8),
                       static_cast<BYTE>(page.messageId & 0xFF),
                       page.dcs,
                       static_cast<BYTE>((page.page & 0x0F) << 4 | (page.pages & 0x0F))};
  writer.Put(head, sizeof head);
  const PduError error = WriteContent(writer, page);
  if (error != PduError::None) return error;
  if (writer.Overflowed()) return PduError::BufferTooSmall;
  *written = writer.Written();
  return PduError::None;
}

PduError DecodeBroadcastMessage(const BYTE* octets, std::size_t size, BroadcastPage* out, std::size_t capacity,
                                std::size_t* count) {
  *count = 0;
  COctetReader reader(octets, size);
  const BYTE* const head = reader.Take(7);  // type, message identifier, serial number, coding, number of pages
  if (!head) return PduError::Truncated;
  if (head[0] != kBroadcastMessage) return PduError::WrongType;
  const BYTE pages = head[6];
  if (pages == 0 || pages > kBroadcastPages) return PduError::TooLong;
  if (pages > capacity) return PduError::BufferTooSmall;
  for (BYTE page = 1; page <= pages; ++page) {
    const BYTE* const content = reader.Take(kPageContentOctets);  // always as long, used or not
    BYTE used = 0;
    if (!content || !reader.Take(&used)) return PduError::Truncated;
    if (used > kPageContentOctets) return PduError::TooLong;
    BroadcastPage& next = out[page - 1];
    next = BroadcastPage();
    next.messageId = Word(head[1], head[2]);
    next.serial = Word(head[3], head[4]);
    next.dcs = head[5];
    next.page = page;
    next.pages = pages;
    ReadContent(content, used, &next);
  }
  *count = pages;
  return PduError::None;
}

}  // namespace sms_pdu
