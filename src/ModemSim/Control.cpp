// Requests and answers.
#include "Control.h"

#include "ControlRequest.h"
#include "Delivery.h"
#include "FaultRequest.h"
#include "HexText.h"
#include "Pages.h"
#include "Pieces.h"
#include "PushEncoder.h"

#include <algorithm>

namespace modem_sim {
namespace {

typedef nlohmann::json Json;

const std::size_t kMostData = 255 * 140;

/// What a request works on.
struct Bench {
  CSimulatedModem& modem;
  IModemWorld& world;
};

void Require(bool holds, const std::string& error) {
  if (!holds) throw BadRequest(error);
}

// --- messages to the modem
// --------------------------------------------------------------------------------------------

sms_pdu::Coding TakeCoding(CControlRequest& request, const VELK_wstring& text) {
  const std::string fallback = request.Has("data") ? "8bit" : FitsGsm7(text) ? "gsm" : "ucs2";
  const std::string word = request.Word("alphabet", {"gsm", "ucs2", "8bit"}, fallback);
  Require((word == "8bit") == request.Has("data"),
          "\"data\" goes with \"alphabet\" \"8bit\", \"text\" with the others");
  return word == "8bit" ? sms_pdu::Coding::Octets : word == "ucs2" ? sms_pdu::Coding::Ucs2 : sms_pdu::Coding::Gsm7;
}

void TakeReference(CControlRequest& request, Delivery* delivery) {
  const int reference = request.Number("reference", 0, 65535, 1);
  delivery->reference = static_cast<WORD>(reference);
  delivery->wideReference = request.Flag("wide", reference > 255);
  Require(delivery->wideReference || reference <= 255, "\"reference\" beyond 255 needs \"wide\": true");
}

/// What every kind of message has.
Delivery TakeEnvelope(CControlRequest& request, Bench& bench) {
  Delivery delivery;
  delivery.from = request.Address("from");
  delivery.messageClass = request.Number("class", 0, 3, -1);
  delivery.protocolId = static_cast<BYTE>(request.Number("protocol", 0, 255, 0));
  delivery.time = request.Time("time", bench.world.Now());
  TakeReference(request, &delivery);
  return delivery;
}

/// Puts the parts in the order that is asked for; parts may be left out and come twice.
std::vector<sms_pdu::Deliver> Ordered(const std::vector<sms_pdu::Deliver>& parts, const std::vector<int>& order) {
  if (order.empty()) return parts;
  std::vector<sms_pdu::Deliver> ordered;
  for (const int place : order) {
    Require(static_cast<std::size_t>(place) <= parts.size(),
            "\"parts\" names part " + std::to_string(place) + "; the message has " + std::to_string(parts.size()));
    ordered.push_back(parts[static_cast<std::size_t>(place - 1)]);
  }
  return ordered;
}

Json Deliver(const Delivery& delivery, CControlRequest& request, Bench& bench) {
  std::vector<sms_pdu::Deliver> parts;
  std::string error;
  const std::vector<int> order = request.Numbers("parts", 1, 255);
  request.Finish();
  Require(Divide(delivery, &parts, &error), error);
  std::size_t taken = 0;
  for (const sms_pdu::Deliver& part : Ordered(parts, order)) {
    Require(bench.modem.Arrive(part), "the service centre keeps too many messages already; " + std::to_string(taken) +
                                          " of this one have been taken. Let the client read some");
    ++taken;
  }
  return {{"parts", parts.size()}, {"taken", taken}, {"waiting", bench.modem.Waiting()}};
}

Json OnDeliver(CControlRequest& request, Bench& bench) {
  Delivery delivery = TakeEnvelope(request, bench);
  delivery.text = FromUtf8(request.Text("text", ""));
  delivery.coding = TakeCoding(request, delivery.text);
  delivery.port = static_cast<WORD>(request.Number("port", 1, 65535, 0));
  if (delivery.coding == sms_pdu::Coding::Octets) {
    delivery.data = request.Octets("data", kMostData);
    Require(!request.Has("text"), "\"text\" and \"data\" exclude each other");
  } else {
    request.Text("text");
  }
  return Deliver(delivery, request, bench);
}

MmsNotification TakeMms(CControlRequest& request) {
  CControlRequest fields(request.Object("mms"));
  MmsNotification mms;
  mms.transaction = fields.Text("transaction", mms.transaction);
  mms.from = fields.Text("from", "");
  mms.subject = fields.Text("subject", "");
  mms.url = fields.Text("url");
  mms.size = static_cast<DWORD>(fields.Number("size", 0, 0x7FFFFFFF, 0));
  fields.Finish();
  for (const std::string* const text : {&mms.transaction, &mms.from, &mms.subject, &mms.url}) {
    Require(text->find('\0') == std::string::npos, "a text of \"mms\" holds a zero");
  }
  return mms;
}

Json OnPush(CControlRequest& request, Bench& bench) {
  Delivery delivery = TakeEnvelope(request, bench);
  delivery.coding = sms_pdu::Coding::Octets;
  delivery.port = static_cast<WORD>(request.Number("port", 1, 65535, kPushPort));
  Require(request.Has("data") != request.Has("mms"), "either \"data\" or \"mms\" says what is pushed");
  delivery.data = request.Has("mms") ? EncodePush(TakeMms(request)) : request.Octets("data", kMostData);
  return Deliver(delivery, request, bench);
}

Json OnPdu(CControlRequest& request, Bench& bench) {
  const std::vector<BYTE> tpdu = request.Octets("hex", sms_pdu::kTpduOctets);
  request.Finish();
  Require(!tpdu.empty(), "\"hex\" is empty");
  Require(bench.modem.ArriveTpdu(tpdu), "the service centre keeps too many messages already. Let the client read some");
  return {{"waiting", bench.modem.Waiting()}};
}

Json OnReport(CControlRequest& request, Bench& bench) {
  sms_pdu::StatusReport report;
  report.recipient = request.Address("to");
  report.reference = static_cast<BYTE>(request.Number("reference", 0, 255, 0));
  report.status = static_cast<BYTE>(request.Number("status", 0, 255, 0));
  report.time = request.Time("time", bench.world.Now());
  report.dischargeTime = request.Time("discharged", bench.world.Now());
  request.Finish();
  Require(bench.modem.Arrive(report), "the service centre keeps too many messages already. Let the client read some");
  return {{"waiting", bench.modem.Waiting()}};
}

const char* NameOf(PageFate fate) {
  switch (fate) {
    case PageFate::Shown:
      return "shown";
    case PageFate::NotSelected:
      return "not selected by +CSCB";
    case PageFate::NotWanted:
      return "not wanted by +CNMI";
    case PageFate::NoNetwork:
      return "no network";
    case PageFate::Unencodable:
      break;
  }
  return "text and \"dcs\" do not fit together";
}

Json OnPage(CControlRequest& request, Bench& bench) {
  const WORD serial = static_cast<WORD>(request.Number("serial", 0, 65535, 1));
  const WORD channel = static_cast<WORD>(request.Number("channel", 0, 65535, 50));
  const VELK_wstring text = FromUtf8(request.Text("text"));
  const bool single = request.Has("page") || request.Has("pages");
  const int count = request.Number("pages", 1, static_cast<int>(sms_pdu::kBroadcastPages), 1);
  const int page = request.Number("page", 1, count, 1);
  const int dcs = request.Number("dcs", 0, 255, -1);
  request.Finish();
  std::vector<sms_pdu::BroadcastPage> pages;
  Require(MakePages(serial, channel, text, &pages), "\"text\" takes more than 15 pages");
  Require(!single || pages.size() == 1, "\"text\" takes " + std::to_string(pages.size()) +
                                            " pages; leave \"page\" and \"pages\" out to send them all");
  if (single) {
    pages[0].page = static_cast<BYTE>(page);
    pages[0].pages = static_cast<BYTE>(count);
  }
  PageFate fate = PageFate::Shown;
  for (sms_pdu::BroadcastPage& one : pages) {
    if (dcs >= 0) one.dcs = static_cast<BYTE>(dcs);
    fate = bench.modem.Broadcast(one);
  }
  return {{"pages", pages.size()}, {"shown", fate == PageFate::Shown}, {"fate", NameOf(fate)}};
}

// --- the device
// -------------------------------------------------------------------------------------------------------

Json OnUnplug(CControlRequest& request, Bench& bench) {
  request.Finish();
  bench.modem.Unplug();
  return Json::object();
}

Json OnPlug(CControlRequest& request, Bench& bench) {
  std::string error;
  request.Finish();
  Require(bench.modem.Plug(&error), error);
  return Json::object();
}

Json OnRestart(CControlRequest& request, Bench& bench) {
  const int milliseconds = request.Number("ms", 0, 600000, 0);
  request.Finish();
  Require(bench.modem.Powered(), "the modem is unplugged; \"plug\" it first");
  bench.modem.Restart(milliseconds);
  return Json::object();
}

Json OnNetwork(CControlRequest& request, Bench& bench) {
  const std::string word = request.Word("state", {"home", "roaming", "searching", "denied", "none"}, "");
  request.Finish();
  bench.modem.SetNetwork(word == "home"        ? NetworkState::Home
                         : word == "roaming"   ? NetworkState::Roaming
                         : word == "searching" ? NetworkState::Searching
                         : word == "denied"    ? NetworkState::Denied
                                               : NetworkState::None);
  return Json::object();
}

Json OnSignal(CControlRequest& request, Bench& bench) {
  const int unknown = 99;
  Require(request.Has("value"), "\"value\" is missing");
  const int value = request.Number("value", 0, unknown, unknown);
  request.Finish();
  Require(value <= 31 || value == unknown, "\"value\" must be a whole number from 0 to 31, or 99");
  bench.modem.SetSignal(value);
  return Json::object();
}

Json OnSim(CControlRequest& request, Bench& bench) {
  const std::string word = request.Word("state", {"ready", "pin", "puk", "absent", "busy"}, "");
  const std::string pin = request.Text("pin", "");
  request.Finish();
  Require(pin.empty() || (pin.size() >= 4 && pin.size() <= 8 && pin.find_first_not_of("0123456789") == pin.npos),
          "\"pin\" must have 4 to 8 digits");
  bench.modem.SetCard(word == "ready"    ? CardState::Ready
                      : word == "pin"    ? CardState::Pin
                      : word == "puk"    ? CardState::Puk
                      : word == "absent" ? CardState::Absent
                                         : CardState::Busy,
                      pin);
  return Json::object();
}

Json OnFault(CControlRequest& request, Bench& bench) {
  CFaults& faults = bench.modem.Faults();
  if (request.Text("kind", "") == "none") {
    request.Finish();
    faults.Clear();
  } else {
    const Fault fault = TakeFault(request);
    request.Finish();
    faults.Add(fault);
  }
  return {{"rules", faults.Count()}};
}

Json OnLine(CControlRequest& request, Bench& bench) {
  Require(request.Has("baud"), "\"baud\" is missing");
  const int baud = request.Number("baud", 0, 4000000, 0);
  request.Finish();
  bench.modem.SetBaud(baud);
  return Json::object();
}

Json OnCall(CControlRequest& request, Bench& bench) {
  const std::string word = request.Word("state", {"ringing", "ended"}, "ringing");
  const std::string from = request.Text("from", "+491720000002");
  request.Finish();
  Require(!from.empty(), "\"from\" is empty");
  if (word == "ringing") {
    bench.modem.Ring(from);
  } else {
    bench.modem.EndCall();
  }
  return Json::object();
}

// --- questions
// --------------------------------------------------------------------------------------------------------

void DescribeContent(const sms_pdu::UserData& content, Json* out) {
  const sms_pdu::DataCoding coding = sms_pdu::ParseDataCoding(content.dcs);
  (*out)["dcs"] = content.dcs;
  if (coding.messageClass >= 0) (*out)["class"] = coding.messageClass;
  if (coding.coding == sms_pdu::Coding::Octets || coding.compressed) {
    (*out)["data"] = HexOf(content.octets, content.octetCount);
  } else {
    (*out)["text"] = ToUtf8(VELK_wstring(content.text, content.textLength));
  }
  sms_pdu::Concatenation place;
  if (sms_pdu::FindConcatenation(content.header, &place)) {
    (*out)["part"] = place.sequence;
    (*out)["parts"] = place.total;
    (*out)["partReference"] = place.reference;
  }
}

std::string TextOf(const sms_pdu::Address& address) { return ToUtf8(VELK_wstring(address.text, address.length)); }

Json Describe(const SentMessage& sent) {
  Json out = {{"number", sent.number}, {"reference", sent.reference}, {"pdu", HexOf(sent.tpdu)}};
  sms_pdu::Submit submit;
  if (sms_pdu::DecodeSubmit(sent.tpdu.data(), sent.tpdu.size(), &submit) != sms_pdu::PduError::None) return out;
  out["report"] = submit.statusReportRequest;
  DescribeContent(submit.userData, &out);
  return out;
}

Json OnSent(CControlRequest& request, Bench& bench) {
  const int from = request.Number("from", 0, static_cast<int>(CSimulatedModem::kSentLimit), 0);
  const bool forget = request.Flag("forget", false);
  request.Finish();
  const auto& all = bench.modem.Sent();
  Json messages = Json::array();
  for (std::size_t i = static_cast<std::size_t>(from); i < all.size(); ++i) messages.push_back(Describe(all[i]));
  const Json answer = {{"count", all.size()}, {"messages", messages}};
  if (forget) bench.modem.ForgetSent();
  return answer;
}

Json Describe(int index, const StoredMessage& stored) {
  static const char* const kNames[] = {"unread", "read", "unsent", "sent"};
  const BYTE* const tpdu = stored.pdu.data() + (stored.pdu.size() - stored.tpduLength);
  Json out = {
      {"index", index}, {"status", kNames[static_cast<int>(stored.status)]}, {"pdu", HexOf(tpdu, stored.tpduLength)}};
  const bool received = stored.status == MessageStatus::Unread || stored.status == MessageStatus::Read;
  const bool isReport =
      received && stored.tpduLength > 0 && sms_pdu::TypeTowardsDevice(tpdu[0]) == sms_pdu::TpduType::StatusReport;
  sms_pdu::Deliver deliver;
  sms_pdu::Submit submit;
  if (isReport) {
    out["report"] = true;
  } else if (received && sms_pdu::DecodeDeliver(tpdu, stored.tpduLength, &deliver) == sms_pdu::PduError::None) {
    out["number"] = TextOf(deliver.originator);
    DescribeContent(deliver.userData, &out);
  } else if (!received && sms_pdu::DecodeSubmit(tpdu, stored.tpduLength, &submit) == sms_pdu::PduError::None) {
    out["number"] = TextOf(submit.destination);
    DescribeContent(submit.userData, &out);
  }
  return out;
}

Memory TakeMemory(CControlRequest& request) {
  request.Text("name");
  return request.Word("name", {"SM", "ME"}, "") == "SM" ? Memory::Sim : Memory::Equipment;
}

Json OnMemory(CControlRequest& request, Bench& bench) {
  const CMessageStore& store = bench.modem.MemoryOf(TakeMemory(request));
  request.Finish();
  Json messages = Json::array();
  for (int index = 1; index <= store.Capacity(); ++index) {
    if (const StoredMessage* const message = store.At(index)) messages.push_back(Describe(index, *message));
  }
  return {{"capacity", store.Capacity()}, {"used", store.Used()}, {"messages", messages}};
}

Json OnFill(CControlRequest& request, Bench& bench) {
  const Memory memory = TakeMemory(request);
  request.Finish();
  return {{"filled", bench.modem.Fill(memory)}};
}

Json OnState(CControlRequest& request, Bench& bench) {
  request.Finish();
  return {{"powered", bench.modem.Powered()},
          {"faults", bench.modem.Faults().Count()},
          {"waiting", bench.modem.Waiting()},
          {"sent", bench.modem.Sent().size()}};
}

struct Entry {
  const char* name;
  Json (*carryOut)(CControlRequest& request, Bench& bench);
};

const Entry kRequests[] = {
    {"deliver", OnDeliver}, {"pdu", OnPdu},     {"report", OnReport},   {"page", OnPage},       {"push", OnPush},
    {"unplug", OnUnplug},   {"plug", OnPlug},   {"restart", OnRestart}, {"network", OnNetwork}, {"signal", OnSignal},
    {"sim", OnSim},         {"call", OnCall},   {"sent", OnSent},       {"memory", OnMemory},   {"fill", OnFill},
    {"state", OnState},     {"fault", OnFault}, {"line", OnLine},
};

Json CarryOut(const std::string& line, Bench& bench) {
  const Json object = Json::parse(line);
  Require(object.is_object(), "a request is one JSON object, {\"do\":\"sent\"}");
  CControlRequest request(object);
  const std::string name = request.Text("do");
  const auto found =
      std::find_if(std::begin(kRequests), std::end(kRequests), [&](const Entry& entry) { return name == entry.name; });
  Require(found != std::end(kRequests), "\"" + name + "\" is no request");
  return found->carryOut(request, bench);
}

/// One line, whatever the text holds.
std::string Line(const Json& answer) { return answer.dump(-1, ' ', false, Json::error_handler_t::replace); }

}  // namespace

std::string CControl::Answer(const std::string& request) {
  Bench bench = {m_modem, m_world};
  try {
    Json answer = CarryOut(request, bench);
    answer["ok"] = true;
    return Line(answer);
  } catch (const BadRequest& error) {
    return Line({{"ok", false}, {"error", error.what()}});
  } catch (const Json::exception& error) {
    return Line({{"ok", false}, {"error", std::string("no JSON: ") + error.what()}});
  }
}

}  // namespace modem_sim
