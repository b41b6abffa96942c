#include "Commands.h"

#include "PluginContainer.h"
#include "Text.h"
#include "platform/PlatformPaths.h"
#include "services/IModemFinder.h"
#include "services/IShortMessage.h"

#include <cstdio>

namespace smsctl {

namespace {

const char kNone[] =
    "no USB modem is plugged in; one on another line is named with --device, e.g. --device /dev/ttyS0 or "
    "tcp:HOST:PORT";
const std::size_t kTextWidth = 60;  // of what a device says of itself

const char* StateText(FoundPort::State state) {
  switch (state) {
    case FoundPort::State::kAnswers:
      return "answers AT commands";
    case FoundPort::State::kSilent:
      return "does not answer";
    default:
      return "not asked";
  }
}

void PrintPort(const FoundPort& port) {
  const std::string note = port.note.empty() ? std::string() : ": " + Printable(port.note);
  std::printf("  %-14s %s%s\n", port.path.c_str(), StateText(port.state), note.c_str());
}

void PrintModem(const FoundModem& modem) {
  const std::string name = modem.maker + " " + modem.model;
  std::printf("%s  %s\n", NameOfPlace(modem.place).c_str(),
              OneLine(name == " " ? "unknown device" : name, kTextWidth).c_str());
  if (!modem.imei.empty()) {
    std::printf("  imei:%s\n", modem.imei.c_str());
  }
  if (!modem.iccid.empty()) {
    std::printf("  iccid:%s\n", modem.iccid.c_str());
  }
  for (const FoundPort& port : modem.ports) {
    PrintPort(port);
  }
}

}  // namespace

int Modems() {
  host::CPluginContainer container;
  std::string error;
  const std::string plugin = GetPlatformPaths().strModuleDir + "/ModemPlugin.so";
  if (!container.Load(plugin, error, host::CPluginContainer::Begin::kNothing)) {
    return Fail(error);
  }
  IBaseInterface* found = nullptr;
  if (!container.QueryPluginInterface(SHORT_MESSAGE_CLSID, MODEM_FINDER_INTERFACE, &found) || found == nullptr) {
    return Fail(plugin + " cannot look for modems; build it anew with ./run.sh");
  }
  const std::vector<FoundModem> modems = static_cast<IModemFinder*>(found)->FindModems();
  for (const FoundModem& modem : modems) {
    PrintModem(modem);
  }
  std::puts(modems.empty() ? kNone : "Every name and port above can stand behind --device.");
  return kDone;
}

}  // namespace smsctl
