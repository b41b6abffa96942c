#include "ModemFinder.h"

#include "DevicePath.h"
#include "Guarded.h"

#include <algorithm>
#include <future>
#include <iterator>
#include <utility>

namespace modem {

namespace {

const char kAdapterNote[] = "a serial adapter: it is asked only when it is named with --device";

/// A modem may be behind it, or a machine that takes "AT" for an order.
bool IsAdapter(const BusPort& port) {
  const char* const kDrivers[] = {"ftdi_sio", "cp210x", "ch341", "ch341-uart", "pl2303", "mct_u232", "ark3116"};
  return std::find(std::begin(kDrivers), std::end(kDrivers), port.driver) != std::end(kDrivers);
}

/// The port for data calls answers too, but on many modems it does not tell of new messages.
bool IsDataPort(const AskedPort& asked) { return asked.port.interfaceName.find("odem") != std::string::npos; }

bool Fits(const PortAnswer& answer, const ModemWish& wish) {
  return answer.state == FoundPort::State::kAnswers && (wish.imei.empty() || IsSameImei(answer.imei, wish.imei)) &&
         (wish.iccid.empty() || IsSameIccid(answer.iccid, wish.iccid));
}

/// A port of another interface of the same modem is not the one that served before; it may only have come first. What
/// is named by its place or its SIM may be a modem of another kind now.
bool CanBeAgain(const BusPort& port, const ModemWish& wish, const BusPort& before) {
  const bool sameKind = port.vendorId == before.vendorId;
  const bool samePlace = wish.place.empty() || port.place == wish.place;
  return samePlace && (sameKind ? port.interfaceNumber == before.interfaceNumber : wish.imei.empty());
}

std::string NameOf(const AskedPort& asked) {
  const std::string model = asked.answer.model.empty() ? asked.port.model : asked.answer.model;
  const std::string name = asked.answer.imei.empty() ? NameOfPlace(asked.port.place) : "imei:" + asked.answer.imei;
  return name + " (" + (model.empty() ? std::string() : model + ", ") + asked.port.path + ")";
}

std::string Missing(const ModemWish& wish) {
  return !wish.imei.empty()    ? "the modem imei:" + wish.imei + " was not found"
         : !wish.iccid.empty() ? "a modem with the SIM iccid:" + wish.iccid + " was not found"
         : !wish.place.empty() ? "a modem at " + NameOfPlace(wish.place) + " was not found"
                               : "no modem answers";
}

/// What stands in the way most likely: a port that is in use could be the wanted one.
std::string NoneError(const std::vector<AskedPort>& asked, const ModemWish& wish) {
  for (const AskedPort& one : asked) {
    if (one.answer.state == FoundPort::State::kClosed) {
      return Missing(wish) + ", and one port could not be asked: " + one.answer.note;
    }
  }
  return Missing(wish) + ". Plug it in, or choose another one with --device (\"smsctl modems\" lists them).";
}

std::string SeveralError(const std::vector<const AskedPort*>& modems) {
  std::string names;
  for (const AskedPort* const modem : modems) {
    names += (names.empty() ? "" : "; ") + NameOf(*modem);
  }
  return "several modems answer: " + names + ". Choose one with --device.";
}

}  // namespace

/// All at the same time: a silent port costs its whole limit.
std::vector<AskedPort> CModemFinder::Ask(const Filter& isWanted, bool bAdapters) const {
  std::vector<AskedPort> asked;
  for (const BusPort& port : m_bus.Ports()) {
    if (isWanted(port)) {
      asked.push_back({port, PortAnswer()});
    }
  }
  std::vector<std::future<void>> probes;
  for (AskedPort& one : asked) {
    if (IsAdapter(one.port) && !bAdapters) {
      one.answer.state = FoundPort::State::kNotAsked;
      one.answer.note = kAdapterNote;
    } else {
      probes.push_back(std::async(std::launch::async, [this, &one] { one.answer = m_probe(one.port.path); }));
    }
  }
  for (std::future<void>& probe : probes) {
    probe.get();
  }
  return asked;
}

std::vector<FoundModem> CModemFinder::FindModems() {
  return Guarded([this] { return List(); });
}

std::vector<FoundModem> CModemFinder::List() const {
  std::vector<FoundModem> modems;
  const auto take = [](const std::string& told, std::string& kept) { kept = told.empty() ? kept : told; };
  for (const AskedPort& asked : Ask([](const BusPort&) { return true; }, false)) {
    if (modems.empty() || modems.back().place != asked.port.place) {
      modems.push_back({asked.port.place, asked.port.maker, asked.port.model, "", "", {}});
    }
    FoundModem& modem = modems.back();
    take(asked.answer.maker, modem.maker);
    take(asked.answer.model, modem.model);
    take(asked.answer.imei, modem.imei);
    take(asked.answer.iccid, modem.iccid);
    modem.ports.push_back({asked.port.path, asked.answer.state, asked.answer.note});
  }
  return modems;
}

std::optional<AskedPort> CModemFinder::Choose(const std::vector<AskedPort>& asked, const ModemWish& wish,
                                              std::string& error) const {
  std::vector<const AskedPort*> modems;  // the best port of each
  for (const AskedPort& one : asked) {
    if (!Fits(one.answer, wish)) {
      continue;
    }
    if (modems.empty() || modems.back()->port.place != one.port.place) {
      modems.push_back(&one);
    } else if (IsDataPort(*modems.back()) && !IsDataPort(one)) {
      modems.back() = &one;
    }
  }
  if (modems.size() == 1) {
    return *modems[0];
  }
  error = modems.empty() ? NoneError(asked, wish) : SeveralError(modems);
  return std::nullopt;
}

std::optional<AskedPort> CModemFinder::Find(const ModemWish& wish, std::string& error) const {
  const auto isWanted = [&](const BusPort& port) { return wish.place.empty() || port.place == wish.place; };
  return Choose(Ask(isWanted, !wish.place.empty()), wish, error);
}

std::optional<AskedPort> CModemFinder::FindAgain(const ModemWish& wish, const BusPort& before,
                                                 std::string& error) const {
  const auto isWanted = [&](const BusPort& port) { return CanBeAgain(port, wish, before); };
  return Choose(Ask(isWanted, !wish.place.empty() || IsAdapter(before)), wish, error);
}

bool CModemFinder::MayBeThere(const ModemWish& wish, const BusPort& before) const {
  const std::vector<BusPort> ports = m_bus.Ports();
  return std::any_of(ports.begin(), ports.end(), [&](const BusPort& port) { return CanBeAgain(port, wish, before); });
}

std::optional<AskedPort> CModemFinder::Identify(const std::string& path) const {
  const std::string device = ResolvedPath(path);
  for (const BusPort& port : m_bus.Ports()) {
    if (port.path == path || port.path == device) {
      return AskedPort{port, m_probe(port.path)};
    }
  }
  return std::nullopt;
}

}  // namespace modem
