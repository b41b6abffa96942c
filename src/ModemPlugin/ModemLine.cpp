#include "ModemLine.h"

#include "AtErrors.h"
#include "Lines.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>

namespace modem {

namespace {

/// Lines without a tag that modems send by themselves.
const char* const kBareNotices[] = {
    "RING",          "NO CARRIER",  "BUSY",      "NO ANSWER", "NO DIALTONE", "CONNECT",           "DST:",
    "Call Ready",    "SMS Ready",   "SMS READY", "SMS DONE",  "PB DONE",     "NORMAL POWER DOWN", "POWERED DOWN",
    "UNDER-VOLTAGE", "OVER-VOLTAGE"};
const char* const kRestarts[] = {"RDY", "APP RDY", "START", "^SYSSTART", "*EMRDY:", "+WIND: 3"};

bool IsHex(char character) { return std::isxdigit(static_cast<unsigned char>(character)) != 0; }

bool FindFinalDigit(const std::string& line, AtFinal& final) {
  final = line == "0" ? AtFinal::kOk : AtFinal::kError;
  return line == "0" || line == "4";
}

}  // namespace

std::string Cleaned(const std::string& line) {
  std::string clean;
  for (const char octet : line) {
    const unsigned char value = static_cast<unsigned char>(octet);
    const bool noise = value < 0x20 || value == 0x7F || (value >= 0x80 && clean.empty());
    if (!noise && (octet != ' ' || !clean.empty())) {
      clean += octet;
    }
  }
  clean.erase(clean.find_last_not_of(' ') + 1);
  return clean;
}

bool FindFinal(const std::string& line, AtFinal& final, int& code) {
  static const char kCms[] = "+CMS ERROR:";
  static const char kCme[] = "+CME ERROR:";
  const std::size_t kCodeAt = sizeof kCms - 1;
  code = 0;
  if (line == "OK") {
    final = AtFinal::kOk;
  } else if (line == "ERROR" || line == "COMMAND NOT SUPPORT" || line == "TOO MANY PARAMETERS") {
    final = AtFinal::kError;
  } else if (StartsWith(line, kCms)) {
    final = AtFinal::kCmsError;
    code = CmsErrorCode(line.substr(kCodeAt));
  } else if (StartsWith(line, kCme)) {
    final = AtFinal::kCmeError;
    code = CmeErrorCode(line.substr(kCodeAt));
  } else {
    return FindFinalDigit(line, final);
  }
  return true;
}

bool IsTagged(const std::string& line) {
  const auto begins = [&](const char* notice) { return StartsWith(line, notice); };
  return (line.size() > 1 && std::strchr("+^*#%$_!", line[0]) != nullptr && line[1] >= 'A' && line[1] <= 'Z') ||
         std::any_of(std::begin(kBareNotices), std::end(kBareNotices), begins) || TellsRestart(line);
}

bool AnnouncesOctets(const std::string& line) {
  return StartsWith(line, "+CMT:") || StartsWith(line, "+CDS:") || StartsWith(line, "+CBM:");
}

bool LooksLikeOctets(const std::string& line) { return line.size() > 1 && IsHex(line[0]) && IsHex(line[1]); }

bool IsLengthOf(const std::string& head, const std::string& octets) {
  const std::vector<std::string> parameters = ParametersOf(head);
  DWORD length = 0;
  if (parameters.empty() || !NumberOf(parameters.back(), length) || !std::all_of(octets.begin(), octets.end(), IsHex)) {
    return false;
  }
  std::size_t centre = 0;
  if (octets.size() >= 2) {
    std::from_chars(octets.data(), octets.data() + 2, centre, 16);
  }
  return octets.size() == 2 * std::size_t{length} || octets.size() == 2 * (1 + centre + length);
}

bool SplitOctets(const std::string& line, std::string& head, std::string& octets) {
  const std::size_t kShortest = 16;  // longer than any number among the parameters
  const std::size_t end = line.find_last_of(", ");
  if (end == std::string::npos || line.size() - end - 1 < kShortest ||
      !std::all_of(line.begin() + static_cast<std::ptrdiff_t>(end) + 1, line.end(), IsHex)) {
    return false;
  }
  octets = line.substr(end + 1);
  head = line.substr(0, line.find_last_not_of(", ", end) + 1);
  return true;
}

bool TellsRestart(const std::string& line) {
  const bool tagged = !line.empty() && std::isalpha(static_cast<unsigned char>(line[0])) == 0;
  return std::any_of(std::begin(kRestarts), std::end(kRestarts),
                     [&](const char* restart) { return tagged ? StartsWith(line, restart) : line == restart; });
}

bool TellsMessagesReady(const std::string& line) {
  for (const char* ready : {"SMS Ready", "SMS READY", "SMS DONE", "+QIND: SMS DONE", "+WIND: 4"}) {
    if (line == ready) {
      return true;
    }
  }
  return false;
}

bool IsRegistrationReply(const std::string& line) {
  const std::size_t kLongestState = 2;
  const std::vector<std::string> parameters = ParametersOf(line);
  DWORD state = 0;
  return parameters.size() >= 2 && line[line.find(',') + 1] != '"' && parameters[1].size() <= kLongestState &&
         NumberOf(parameters[1], state);
}

std::vector<std::string> ParametersOf(const std::string& line) {
  std::vector<std::string> parameters;
  const std::size_t colon = line.find(':');
  if (colon == std::string::npos) {
    return parameters;
  }
  std::string parameter;
  bool quoted = false;
  for (std::size_t position = std::min(line.find_first_not_of(' ', colon + 1), line.size()); position < line.size();
       ++position) {
    const char character = line[position];
    if (character == '"') {
      quoted = !quoted;
    } else if (character == ',' && !quoted) {
      parameters.push_back(parameter);
      parameter.clear();
    } else if (character != ' ' || quoted || !parameter.empty()) {
      parameter += character;
    }
  }
  parameters.push_back(parameter);
  return parameters;
}

bool NumberOf(const std::string& parameter, DWORD& number) {
  const char* const end = parameter.data() + parameter.size();
  const auto [stop, error] = std::from_chars(parameter.data(), end, number);
  return error == std::errc() && stop == end;
}

}  // namespace modem
