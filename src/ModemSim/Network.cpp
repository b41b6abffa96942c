// The network behind the modem: verdicts, messages that come back, reports, and handing them over.
#include "ErrorCodes.h"
#include "SimulatedModem.h"

#include <algorithm>
#include <utility>

namespace modem_sim {
namespace {

const std::size_t kWaitingLimit = 1000;
const std::size_t kBufferedLimit = 100;
const int kLinkMs = 2500;          // looked at so often: the link closes after one or two of these, 5 seconds at most
const int kAcknowledgeMs = 15000;  // 3GPP TS 24.011, 10.2: the network waits 12 to 20 seconds

std::string Digits(const std::string& number) { return number.rfind('+', 0) == 0 ? number.substr(1) : number; }

std::string NumberOf(const sms_pdu::Address& address) {
  char text[sms_pdu::kAddressTextUnits + 1];
  sms_pdu::AddressToAscii(address, text, sizeof text);
  return text;
}

bool SameNumber(const std::string& one, const std::string& other) {
  return !Digits(one).empty() && Digits(one) == Digits(other);
}

}  // namespace

CSimulatedModem::Result CSimulatedModem::Send(const StoredMessage& message, const char* replyName,
                                              std::function<void()> accepted) {
  sms_pdu::Submit submit;
  const BYTE* const tpdu = message.pdu.data() + (message.pdu.size() - message.tpduLength);
  if (sms_pdu::DecodeSubmit(tpdu, message.tpduLength, &submit) != sms_pdu::PduError::None) {
    return Cms(kCmsInvalidPduParameter);
  }
  const auto judge = [this, message, submit, replyName, accepted = std::move(accepted), life = m_uLife] {
    if (life != m_uLife) return;  // the power went before the message was out
    const Result verdict = Judge(submit);
    if (verdict.kind == Result::Kind::Ok) {
      Inform(std::string(replyName) + ": " + std::to_string(m_btReference));
      if (accepted) accepted();
      Note(message, submit);
      Carry(submit, m_btReference++);
      if (HangsUp(HangUpPoint::BeforeVerdict)) return;
    }
    const Fault* const late = m_faults.Strike(FaultKind::Late, m_strCommand);
    TellVerdict(verdict, late ? late->milliseconds : 0);
  };
  m_world.After(m_options.latencyMs, judge);
  return Later();
}

/// <n> 1 of +CMMS falls back to 0 when no further send follows (3GPP TS 27.005, 3.5.6).
void CSimulatedModem::WatchLink() {
  m_bWatchesLink = true;
  m_world.After(kLinkMs, [this, sends = m_uSends] {
    m_bWatchesLink = false;
    if (m_iMoreMessages != 1) return;
    if (sends != m_uSends) {
      WatchLink();
    } else {
      m_iMoreMessages = 0;
    }
  });
}

void CSimulatedModem::TellVerdict(const Result& verdict, int milliseconds) {
  ++m_uSends;
  if (m_iMoreMessages == 1 && !m_bWatchesLink) WatchLink();
  if (milliseconds == 0) {
    Finish(verdict);
    return;
  }
  m_world.After(milliseconds, [this, verdict, life = m_uLife] {
    if (life == m_uLife) Finish(verdict);
  });
}

CSimulatedModem::Result CSimulatedModem::Judge(const sms_pdu::Submit& submit) {
  if (!Registered()) return Cms(kCmsNoNetwork);
  if (const Fault* const fault = m_faults.Strike(FaultKind::Refuse, m_strCommand)) return Cms(fault->code);
  const std::string number = NumberOf(submit.destination);
  if (number.empty()) return Cms(kCmsUnassignedNumber);
  for (const auto& [refused, code] : m_options.refusals) {
    if (SameNumber(refused, number)) return Cms(code);
  }
  return Ok();
}

void CSimulatedModem::Note(const StoredMessage& message, const sms_pdu::Submit& submit) {
  if (m_lstSent.size() == kSentLimit) m_lstSent.pop_front();
  const auto start = message.pdu.end() - static_cast<std::ptrdiff_t>(message.tpduLength);
  m_lstSent.push_back({NumberOf(submit.destination), m_btReference, {start, message.pdu.end()}});
}

/// Takes an accepted message to its recipient, and what follows from it back.
void CSimulatedModem::Carry(const sms_pdu::Submit& submit, BYTE reference) {
  sms_pdu::StatusReport report;
  report.reference = reference;
  report.recipient = submit.destination;
  report.time = m_world.Now();
  sms_pdu::Deliver message;
  sms_pdu::MakeAddress(m_options.number.c_str(), &message.originator);
  message.protocolId = submit.protocolId;
  message.replyPath = submit.replyPath;
  message.time = report.time;
  message.userData = submit.userData;
  const bool comesBack = SameNumber(NumberOf(submit.destination), m_options.number);
  const bool wantsReport = submit.statusReportRequest;
  if (!comesBack && !wantsReport) return;
  m_world.After(m_options.latencyMs, [this, comesBack, wantsReport, message, report] {
    if (!comesBack) {
      QueueReport(report);
    } else {
      Queue(message, wantsReport ? &report : nullptr);
    }
  });
}

bool CSimulatedModem::Arrive(const sms_pdu::Deliver& message) { return Queue(message, nullptr); }

bool CSimulatedModem::Arrive(const sms_pdu::StatusReport& report) {
  BYTE tpdu[sms_pdu::kTpduOctets];
  std::size_t size = 0;
  Incoming incoming;
  incoming.isReport = true;
  return sms_pdu::EncodeStatusReport(report, tpdu, sizeof tpdu, &size) == sms_pdu::PduError::None &&
         QueueTpdu(tpdu, size, std::move(incoming));
}

bool CSimulatedModem::ArriveTpdu(const std::vector<BYTE>& tpdu) {
  if (tpdu.empty() || tpdu.size() > sms_pdu::kTpduOctets) return false;
  Incoming incoming;
  incoming.isReport = sms_pdu::TypeTowardsDevice(tpdu[0]) == sms_pdu::TpduType::StatusReport;
  sms_pdu::Deliver message;
  if (sms_pdu::DecodeDeliver(tpdu.data(), tpdu.size(), &message) == sms_pdu::PduError::None) {
    incoming.coding = sms_pdu::ParseDataCoding(message.userData.dcs);
  }
  return QueueTpdu(tpdu.data(), tpdu.size(), std::move(incoming));
}

PageFate CSimulatedModem::Broadcast(const sms_pdu::BroadcastPage& page) {
  std::vector<BYTE> octets(sms_pdu::kPageOctets);
  std::size_t size = 0;
  if (sms_pdu::EncodePage(page, octets.data(), octets.size(), &size) != sms_pdu::PduError::None)
    return PageFate::Unencodable;
  if (!Registered()) return PageFate::NoNetwork;
  if (!m_broadcastIds.Contains(page.messageId)) return PageFate::NotSelected;
  if (!m_broadcastCodings.Empty() && !m_broadcastCodings.Contains(page.dcs)) return PageFate::NotSelected;
  if (m_indications[kBm] != 2) return PageFate::NotWanted;
  octets.resize(size);
  Indicate(PageLines(page, octets));
  return PageFate::Shown;
}

/// Puts the service centre in front.
bool CSimulatedModem::Wrap(const BYTE* tpdu, std::size_t size, StoredMessage* out) const {
  sms_pdu::Address centre;
  BYTE octets[sms_pdu::kAddressMaxOctets];
  std::size_t written = 0;
  if (sms_pdu::MakeAddress(m_options.serviceCentre.c_str(), &centre) != sms_pdu::PduError::None ||
      sms_pdu::EncodeServiceCentre(centre, octets, sizeof octets, &written) != sms_pdu::PduError::None) {
    return false;
  }
  out->pdu.assign(octets, octets + written);
  out->pdu.insert(out->pdu.end(), tpdu, tpdu + size);
  out->tpduLength = size;
  return true;
}

bool CSimulatedModem::Queue(const sms_pdu::Deliver& message, const sms_pdu::StatusReport* report) {
  BYTE tpdu[sms_pdu::kTpduOctets];
  std::size_t size = 0;
  if (sms_pdu::EncodeDeliver(message, tpdu, sizeof tpdu, &size) != sms_pdu::PduError::None) return false;
  Incoming incoming;
  incoming.coding = sms_pdu::ParseDataCoding(message.userData.dcs);
  if (report) {
    incoming.hasReport = true;
    incoming.report = *report;
  }
  return QueueTpdu(tpdu, size, std::move(incoming));
}

bool CSimulatedModem::QueueTpdu(const BYTE* tpdu, std::size_t size, Incoming incoming) {
  if (m_lstWaiting.size() >= kWaitingLimit || !Wrap(tpdu, size, &incoming.message)) return false;
  m_lstWaiting.push_back(std::move(incoming));
  HandOver();
  return true;
}

void CSimulatedModem::QueueReport(sms_pdu::StatusReport report) {
  report.dischargeTime = m_world.Now();
  Arrive(report);
}

/// Hands over whatever can be; the rest stays, in order.
void CSimulatedModem::HandOver() {
  if (!Registered()) return;
  std::deque<Incoming> waiting = std::move(m_lstWaiting);
  m_lstWaiting.clear();
  for (Incoming& incoming : waiting) {
    if (!(GoesDirectly(incoming) ? HandOverDirectly(incoming) : HandOverStored(incoming))) {
      m_lstWaiting.push_back(std::move(incoming));
    }
  }
}

/// Table of <mt> and <ds>, 3GPP TS 27.005, 3.4.1: messages for the card and indications to be stored are stored first.
bool CSimulatedModem::GoesDirectly(const Incoming& incoming) const {
  if (incoming.isReport) return m_indications[kDs] == 1;
  const int mt = m_options.direct && m_indications[kMt] == 1 ? 2 : m_indications[kMt];
  if (mt == 3) return incoming.coding.messageClass == 3;
  const bool forStore = incoming.coding.indication && !incoming.coding.indicationDiscard;
  return mt == 2 && incoming.coding.messageClass != 2 && !forStore;
}

bool CSimulatedModem::HandOverDirectly(const Incoming& incoming) {
  if (m_bAwaitsAcknowledgement) return false;
  Indicate(DirectLines(incoming));
  if (m_iService == 1) {
    AwaitAcknowledgement(incoming);
  } else {
    Delivered(incoming);
  }
  return true;
}

bool CSimulatedModem::HandOverStored(const Incoming& incoming) {
  if (incoming.isReport && m_indications[kDs] == 0) return true;  // nobody wants it: it ends here
  Memory memory = m_memories[2];
  if (incoming.coding.messageClass == 1) memory = Memory::Equipment;
  if (incoming.coding.messageClass == 2) memory = Memory::Sim;
  const int index = Store(memory).Add(incoming.message);
  if (index == 0) return false;
  if (incoming.isReport || m_indications[kMt] != 0) {
    Indicate(std::string(incoming.isReport ? "+CDSI: \"" : "+CMTI: \"") + NameOf(memory) + "\"," +
             std::to_string(index));
  }
  TellFull(memory);
  Delivered(incoming);
  return true;
}

void CSimulatedModem::TellFull(Memory memory) {
  const CMessageStore& store = Store(memory);
  if (m_iNotices == 1 && m_indications[kMt] != 0 && store.Used() == store.Capacity()) {
    Indicate(std::string("^SMMEMFULL: \"") + NameOf(memory) + '"');
  }
}

/// An unsolicited line that obeys +CNMI <mode>.
void CSimulatedModem::Indicate(const std::string& line) {
  if (m_indications[kMode] != 0) {
    Unsolicited(line);
    return;
  }
  if (m_lstBuffered.size() == kBufferedLimit) m_lstBuffered.pop_front();
  m_lstBuffered.push_back(line);
}

void CSimulatedModem::Delivered(const Incoming& incoming) {
  if (!incoming.hasReport) return;
  m_world.After(m_options.latencyMs, [this, report = incoming.report] { QueueReport(report); });
}

void CSimulatedModem::AwaitAcknowledgement(const Incoming& incoming) {
  m_bAwaitsAcknowledgement = true;
  m_unacknowledged = incoming;
  m_world.After(kAcknowledgeMs, [this, delivery = ++m_uDelivery] {
    if (!m_bAwaitsAcknowledgement || delivery != m_uDelivery) return;
    // Nobody listens any more: no direct lines until +CNMI asks for them again (3GPP TS 27.005, 3.4.4).
    m_indications[kMt] = 0;
    m_indications[kDs] = 0;
    PutBack();
    HandOver();
  });
}

void CSimulatedModem::Acknowledged(bool accepted) {
  if (!accepted) {
    PutBack();  // until something changes; handed over again at once it would come in circles
    return;
  }
  m_bAwaitsAcknowledgement = false;
  const Incoming incoming = std::exchange(m_unacknowledged, Incoming());
  Delivered(incoming);
  HandOver();
}

/// What nobody has acknowledged is the centre's again.
void CSimulatedModem::PutBack() {
  if (!m_bAwaitsAcknowledgement) return;
  m_bAwaitsAcknowledgement = false;
  m_lstWaiting.push_front(std::exchange(m_unacknowledged, Incoming()));
}

}  // namespace modem_sim
