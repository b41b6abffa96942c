#include "LineSettings.h"

#include "platform/GlobalFunction.h"

#include <charconv>

namespace modem {

namespace {

std::string Setting(const VELK_wchar_t* pszItem) {
  const VELK_wchar_t* const section = u"ModemPlugin";
  const int length = CGlobalFunction::GetSetting(section, pszItem, nullptr, 0);
  VELK_wstring wide(static_cast<std::size_t>(length) + 1, 0);
  CGlobalFunction::GetSetting(section, pszItem, &wide[0], length);
  const int octets = CGlobalFunction::WideCharToMultiByte(wide.c_str(), nullptr, 0, 0);
  std::string text(static_cast<std::size_t>(octets), '\0');
  CGlobalFunction::WideCharToMultiByte(wide.c_str(), &text[0], octets, 0);
  return text;
}

}  // namespace

std::string ConfiguredDevice() { return Setting(u"Device"); }

std::string ConfiguredRecord() { return Setting(u"Record"); }

bool IsRecordUnmasked() { return Setting(u"RecordUnmasked") == "1"; }

bool LoadSerialSettings(SerialSettings& settings, std::string& error) {
  const std::string text = Setting(u"Baud");
  if (text.empty()) {
    return true;
  }
  unsigned int baud = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, code] = std::from_chars(text.data(), end, baud);
  if (code != std::errc() || stop != end || !IsBaudRate(baud)) {
    error = "the setting \"Baud\" in section [ModemPlugin] is \"" + text +
            "\", which is no speed of a port. Write e.g. 115200, or leave it out.";
    return false;
  }
  settings.baud = baud;
  return true;
}

}  // namespace modem
