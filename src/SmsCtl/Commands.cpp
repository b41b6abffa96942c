#include "Commands.h"

#include "HostSession.h"
#include "Measure.h"
#include "Text.h"

#include <cstdio>

namespace smsctl {

int Fail(const std::string& text) {
  std::fprintf(stderr, "smsctl: %s\n", text.c_str());
  return kNotDone;
}

int Count(const host::HostOptions& options, const std::string& text) {
  host::CHostSession session(host::Modem::kNone, !options.settingsFile.empty());
  std::string error;
  if (!session.Start(error)) {
    return Fail(error);
  }
  if (text.empty()) {
    std::puts("0 parts, the text is empty");
    return kDone;
  }
  const Cost cost = Measure(session.Service(), ToUtf16(text));
  if (cost.parts < 1) {
    return Fail("the text does not fit into 255 parts; shorten it");
  }
  std::printf("%s, %s, %s left\n", Counted(cost.parts, "part").c_str(), EncodingName(cost),
              Counted(cost.charactersLeft, "character").c_str());
  return kDone;
}

int PhonebookSize(const host::HostOptions& options, const std::string& text) {
  host::CHostSession session(host::Modem::kNone, !options.settingsFile.empty());
  std::string error;
  if (!session.Start(error)) {
    return Fail(error);
  }
  const VELK_wstring name = ToUtf16(text);
  const int length = static_cast<int>(name.size());
  bool unicode = false;
  session.Service().Phonebook_Content_Encode(name.c_str(), length, true, unicode);
  const int octets = session.Service().Phonebook_Content_Coding_Judge(name.c_str(), length, true, true);
  std::printf("%s, %s\n", Counted(octets, "octet").c_str(), unicode ? "16-bit coding" : "GSM alphabet");
  return kDone;
}

}  // namespace smsctl
