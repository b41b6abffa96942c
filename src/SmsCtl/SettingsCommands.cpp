// Commands about settings and cell-broadcast channels.

#include "CommandSession.h"
#include "Text.h"
#include "platform/GlobalFunction.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <sstream>

namespace smsctl {

namespace {

const long kLongestAge = 36500;  // days

/// One setting as the command line names it; numbers are passed on as text.
struct Setting {
  const char* name;
  const char* help;
  std::function<bool(ISMSSetting&, std::string&)> get;
  std::function<bool(const std::string&)> valid;
  std::function<bool(ISMSSetting&, const std::string&)> set;  // of a valid one; empty: cannot be written
};

bool ParseNumber(const std::string& text, long& value) {
  char* end = nullptr;
  value = std::strtol(text.c_str(), &end, 10);
  return !text.empty() && *end == '\0';
}

/// Reads with a getter of the settings interface.
template <class Number>
bool ReadNumber(ISMSSetting& setting, long (ISMSSetting::*pfnGet)(Number&), std::string& text) {
  Number value = 0;
  const bool known = (setting.*pfnGet)(value) == 0;
  text = std::to_string(value);
  return known;
}

bool GetCentre(ISMSSetting& setting, std::string& text) {
  VELK_wchar_t number[32] = {};
  const bool known = setting.GetSMSCentreNumber(number, 31) >= 0;
  text = ToUtf8(number);
  return known;
}

bool WriteFile(const VELK_wchar_t* section, const VELK_wchar_t* key, const std::string& text) {
  return CGlobalFunction::SetSetting(section, key, ToUtf16(text).c_str()) == 0;
}

/// What takes a number of these, and no other text.
std::function<bool(const std::string&)> From0To(long highest) {
  return [highest](const std::string& text) {
    long value = -1;
    return ParseNumber(text, value) && value >= 0 && value <= highest;
  };
}

bool IsDialled(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789", text[0] == '+' ? 1 : 0) == std::string::npos;
}

const Setting kSettings[] = {
    {"centre", "number of the service centre", GetCentre, IsDialled,
     [](ISMSSetting& s, const std::string& v) { return s.SetSMSCentreNumber(ToUtf16(v).c_str()) == 0; }},
    {"validity", "0 to 255: how long the network tries (3GPP TS 23.040, 9.2.3.12.1)",
     [](ISMSSetting& s, std::string& t) { return ReadNumber(s, &ISMSSetting::GetSMSValidityPeriod, t); }, From0To(255),
     [](ISMSSetting& s, const std::string& v) { return s.SetSMSValidityPeriod(std::stol(v)) == 0; }},
    {"report", "1: ask for delivery reports",
     [](ISMSSetting& s, std::string& t) { return ReadNumber(s, &ISMSSetting::GetSMSReceiptNotify, t); }, From0To(1),
     [](ISMSSetting& s, const std::string& v) { return s.SetSMSReceiptNotify(std::stoi(v)) == 0; }},
    {"priority", "0 normal, 1 interactive, 2 urgent, 3 emergency",
     [](ISMSSetting& s, std::string& t) { return ReadNumber(s, &ISMSSetting::GetSMSPriority, t); }, From0To(3),
     [](ISMSSetting& s, const std::string& v) { return s.SetSMSPriority(std::stoi(v)) == 0; }},
    {"receive-mode", "0: new messages stay on the device; else they move to the local store",
     [](ISMSSetting& s, std::string& t) {
       int value = 0;
       s.GetSMSReceiveMode(value);  // an absent setting has a value all the same
       t = std::to_string(value);
       return true;
     },
     From0To(2), [](ISMSSetting&, const std::string& v) { return WriteFile(u"SMSSERVICE", u"ReceviceMode", v); }},
    {"broadcast-cleanup", "age in days after which broadcasts are removed; 0 keeps them",
     [](ISMSSetting& s, std::string& t) {
       int value = 0;
       s.GetCBSAutoCleanup(value);
       t = std::to_string(value);
       return true;
     },
     From0To(kLongestAge),
     [](ISMSSetting&, const std::string& v) { return WriteFile(u"CBSSettingPlugin", u"AutoCleanup", v); }},
    {"group-limit", "most recipients of one send",
     [](ISMSSetting& s, std::string& t) { return ReadNumber(s, &ISMSSetting::GetSMSGroupSendLimit, t); }, nullptr,
     nullptr},
};

const Setting* FindSetting(const std::string& name) {
  const auto it = std::find_if(std::begin(kSettings), std::end(kSettings),
                               [&](const Setting& setting) { return name == setting.name; });
  return it == std::end(kSettings) ? nullptr : &*it;
}

int FailUnknown(const std::string& name) {
  std::string names;
  for (const Setting& setting : kSettings) {
    names += names.empty() ? setting.name : std::string(", ") + setting.name;
  }
  return Fail("there is no setting \"" + name + "\"; there are " + names);
}

/// The settings object, with the modem started when one is configured.
ISMSSetting* OpenSettings(host::CHostSession& session) {
  std::string error;
  ISMSSetting* setting = nullptr;
  if (!session.Start(error)) {
    Fail(error);
  } else if (session.Service().GetSMSSetting(&setting) != ISMSService::SUCCESS || setting == nullptr) {
    Fail("the settings cannot be reached; see the trace file");
  }
  return setting;
}

bool IsChannel(const std::string& text) {
  return text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos && From0To(65535)(text);
}

/// "50,4352-4359"
bool AreChannels(const std::string& list) {
  std::istringstream ranges(list + ',');  // an empty range at the end counts
  for (std::string range; std::getline(ranges, range, ',');) {
    const std::size_t dash = range.find('-');
    const std::string first = range.substr(0, dash);
    const std::string last = dash == std::string::npos ? first : range.substr(dash + 1);
    if (!IsChannel(first) || !IsChannel(last) || std::stol(first) > std::stol(last)) {
      return false;
    }
  }
  return true;
}

void PrintRanges(const CbsMidList& channels) {
  if (channels.size == 0) {
    std::puts("no channels");
  }
  for (DWORD index = 0; index < channels.size; ++index) {
    const CBS_MID& range = channels.pCbsMids[index];
    if (range.dwLeft == range.dwRight) {
      std::printf("%lu\n", static_cast<unsigned long>(range.dwLeft));
    } else {
      std::printf("%lu-%lu\n", static_cast<unsigned long>(range.dwLeft), static_cast<unsigned long>(range.dwRight));
    }
  }
}

bool ListChannels(ISMSSetting& setting) {
  CBSStat state = CBS_STAT_CLOSE;
  CbsMidList channels;
  CbsDcsList codings;
  DWORD status = 0;
  if (!setting.CBSGetDetail(&state, &channels, &codings, &status)) {
    return false;
  }
  PrintRanges(channels);
  return setting.CBSReleaseDetail(&channels, &codings, &status);
}

}  // namespace

int GetSettings(const host::HostOptions& options, const std::string& name) {
  if (!name.empty() && FindSetting(name) == nullptr) {
    return FailUnknown(name);
  }
  host::CHostSession session(host::ModemIfConfigured(), !options.settingsFile.empty());
  ISMSSetting* const setting = OpenSettings(session);
  if (setting == nullptr) {
    return kNotDone;
  }
  bool all = true;
  for (const Setting& each : kSettings) {
    if (!name.empty() && name != each.name) {
      continue;
    }
    std::string value;
    const bool known = each.get(*setting, value);
    all = all && known;
    if (!name.empty() && known) {
      std::printf("%s\n", value.c_str());
    } else if (name.empty()) {
      std::printf("%-18s %-16s %s\n", each.name, known ? value.c_str() : "?", each.help);
    }
  }
  return all ? kDone
             : Fail("not every setting could be read: those of the modem need one; name its port with --device");
}

int SetSetting(const host::HostOptions& options, const std::string& name, const std::string& value) {
  const Setting* const found = FindSetting(name);
  if (found == nullptr) {
    return FailUnknown(name);
  }
  if (!found->set) {
    return Fail("\"" + name + "\" cannot be changed");
  }
  if (!found->valid(value)) {
    return Fail("\"" + Printable(value) + "\" is no value for " + name + " (" + found->help + ")");
  }
  const host::Modem modem = host::ModemIfConfigured();
  host::CHostSession session(modem, !options.settingsFile.empty());
  ISMSSetting* const setting = OpenSettings(session);
  if (setting == nullptr) {
    return kNotDone;
  }
  if (found->set(*setting, value)) {
    return kDone;
  }
  return Fail(name + (modem == host::Modem::kNone
                          ? " cannot be written: settings of the modem need one; name its port with --device"
                          : " cannot be written; see the trace file"));
}

int Channels(const host::HostOptions& options, const std::string& action, const std::string& channels) {
  if ((action == "add" || action == "remove") == channels.empty()) {
    return Fail(channels.empty() ? "name the channels, for example 50,4352-4359" : "only add and remove take channels");
  }
  if (!channels.empty() && !AreChannels(channels)) {
    return Fail("\"" + Printable(channels) + "\" are no channels; write them as 50,4352-4359, from 0 to 65535");
  }
  host::CHostSession session(host::Modem::kConfigured, !options.settingsFile.empty());
  ISMSSetting* const setting = OpenSettings(session);
  if (setting == nullptr) {
    return kNotDone;
  }
  DWORD status = 0;
  bool done = false;
  if (action == "list") {
    done = ListChannels(*setting);
  } else if (action == "add") {
    done = setting->AddCBSChannel(channels.c_str());
  } else if (action == "remove") {
    done = setting->RemoveCBSChannel(channels.c_str());
  } else {
    done = setting->CBSSetService(action == "on" ? CBS_STAT_OPEN : CBS_STAT_CLOSE, &status);
  }
  return done ? kDone : Fail("the modem refuses that");
}

}  // namespace smsctl
