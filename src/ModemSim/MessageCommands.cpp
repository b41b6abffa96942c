// Commands of 3GPP TS 27.005 and their PDU mode.
#include "ErrorCodes.h"
#include "HexText.h"
#include "SimulatedModem.h"

#include <algorithm>

namespace modem_sim {
namespace {

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

/// Another recipient for a stored SMS-SUBMIT.
bool Readdress(const sms_pdu::Address& to, StoredMessage* message) {
  sms_pdu::Submit submit;
  BYTE tpdu[sms_pdu::kTpduOctets];
  std::size_t size = 0;
  const std::size_t centre = message->pdu.size() - message->tpduLength;
  if (sms_pdu::DecodeSubmit(message->pdu.data() + centre, message->tpduLength, &submit) != sms_pdu::PduError::None) {
    return false;
  }
  submit.destination = to;
  if (sms_pdu::EncodeSubmit(submit, tpdu, sizeof tpdu, &size) != sms_pdu::PduError::None) return false;
  message->pdu.resize(centre);
  message->pdu.insert(message->pdu.end(), tpdu, tpdu + size);
  message->tpduLength = size;
  return true;
}

/// Whether <delflag> of +CMGD takes a message with it.
bool Deletes(int flag, MessageStatus status) {
  switch (status) {
    case MessageStatus::Read:
      return flag >= 1;
    case MessageStatus::Sent:
      return flag >= 2;
    case MessageStatus::Unsent:
      return flag >= 3;
    case MessageStatus::Unread:
      return flag >= 4;
  }
  return false;
}

}  // namespace

const std::vector<CSimulatedModem::Entry>& CSimulatedModem::MessageCommands() {
  typedef CSimulatedModem M;
  static const std::vector<Entry> kCommands = {
      {"+CSMS", &M::OnService},        {"+CPMS", &M::OnPreferredMemory}, {"+CSCA", &M::OnServiceCentre},
      {"+CNMI", &M::OnIndications},    {"+CSCB", &M::OnBroadcastTypes},  {"+CMGS", &M::OnSend},
      {"+CMGW", &M::OnWrite},          {"+CMSS", &M::OnSendStored},      {"+CMGL", &M::OnList},
      {"+CMGR", &M::OnRead},           {"+CMGD", &M::OnDelete},          {"+CNMA", &M::OnAcknowledge},
      {"+CSMP", &M::OnTextParameters}, {"+CSAS", &M::OnSaveSettings},    {"+CRES", &M::OnRestoreSettings},
  };
  return kCommands;
}

CSimulatedModem::Result CSimulatedModem::CardError() const {
  switch (m_card) {
    case CardState::Absent:
      return Cms(kCmsNoSim);
    case CardState::Busy:
      return Cms(kCmsSimBusy);
    case CardState::Puk:
      return Cms(kCmsPukRequired);
    case CardState::Ready:
    case CardState::Pin:
      break;
  }
  return Cms(kCmsPinRequired);
}

std::string CSimulatedModem::FillOf(Memory memory) {
  return std::to_string(Store(memory).Used()) + ',' + std::to_string(Store(memory).Capacity());
}

void CSimulatedModem::InformMessage(const std::string& head, const StoredMessage& message) {
  Inform(head + ",," + std::to_string(message.tpduLength));
  Inform(HexOf(message.pdu));
}

CSimulatedModem::Result CSimulatedModem::OnService(const AtCommand& command) {
  switch (command.form) {
    case AtCommand::Form::Test:
      Inform("+CSMS: (0,1)");
      return Ok();
    case AtCommand::Form::Read:
      Inform("+CSMS: " + std::to_string(m_iService) + ",1,1,1");
      return Ok();
    case AtCommand::Form::Execute:
      return Error();
    case AtCommand::Form::Set:
      break;
  }
  const CValues values(command.values, 1);
  if (!values.Valid() || !values.Given(0) || !values.Number(0, 0, 1, &m_iService)) return Error();
  Inform("+CSMS: 1,1,1");
  HandOver();
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnPreferredMemory(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CPMS: (\"SM\",\"ME\"),(\"SM\",\"ME\"),(\"SM\",\"ME\")");
    return Ok();
  }
  if (!CardReady()) return CardError();
  if (command.form == AtCommand::Form::Read) {
    std::string text = "+CPMS: ";
    for (const Memory memory : m_memories) text += Quoted(NameOf(memory)) + ',' + FillOf(memory) + ',';
    text.pop_back();
    Inform(text);
    return Ok();
  }
  const CValues values(command.values, 3);
  auto memories = m_memories;
  if (!values.Valid() || !values.Given(0)) return Error();
  for (std::size_t i = 0; i < memories.size(); ++i) {
    std::string name = NameOf(memories[i]);
    if (!values.Text(i, &name)) return Error();
    if (name != "SM" && name != "ME") return Cms(kCmsNotAllowed);
    memories[i] = name == "SM" ? Memory::Sim : Memory::Equipment;
  }
  m_memories = memories;
  Inform("+CPMS: " + FillOf(memories[0]) + ',' + FillOf(memories[1]) + ',' + FillOf(memories[2]));
  HandOver();
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnServiceCentre(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  if (!CardReady()) return CardError();
  if (command.form == AtCommand::Form::Read) {
    const char* const type = m_strServiceCentre.rfind('+', 0) == 0 ? "145" : "129";
    Inform("+CSCA: " + Quoted(TextMode() ? Shown(m_strServiceCentre) : m_strServiceCentre) + ',' + type);
    return Ok();
  }
  const CValues values(command.values, 2);
  std::string number;
  int type = 0;
  sms_pdu::Address address;
  if (!values.Valid() || !values.Given(0) || !TakeNumber(values, 0, &number) || !values.Number(1, 128, 255, &type) ||
      sms_pdu::MakeAddress(number.c_str(), &address) != sms_pdu::PduError::None ||
      address.typeOfNumber == sms_pdu::kTonAlphanumeric) {
    return Error();
  }
  const bool plus = number.rfind('+', 0) == 0;
  m_strServiceCentre = type == 145 && !plus && !number.empty() ? '+' + number : number;
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnIndications(const AtCommand& command) {
  static const int kHighest[] = {3, 3, 2, 2, 1};
  if (command.form == AtCommand::Form::Test) {
    Inform("+CNMI: (0-3),(0-3),(0,2),(0-2),(0,1)");
    return Ok();
  }
  if (command.form == AtCommand::Form::Read) {
    std::string text = "+CNMI: ";
    for (const int value : m_indications) text += std::to_string(value) + ',';
    text.pop_back();
    Inform(text);
    return Ok();
  }
  const CValues values(command.values, 5);
  std::array<int, 5> indications{};  // what is left out is 0
  if (!values.Valid()) return Error();
  for (std::size_t i = 0; i < indications.size(); ++i) {
    if (!values.Number(i, 0, kHighest[i], &indications[i])) return Error();
  }
  if (indications[kBm] == 1) return Error();  // there is no memory of broadcast pages
  m_indications = indications;
  if (m_indications[kMode] != 0) {
    if (m_indications[kBfr] == 0) {
      for (const std::string& line : m_lstBuffered) Unsolicited(line);
    }
    m_lstBuffered.clear();
  }
  HandOver();
  return Ok();
}

/// Mode 0 adds to the types that are accepted, mode 1 takes away; an empty list stands for all of them.
CSimulatedModem::Result CSimulatedModem::OnBroadcastTypes(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CSCB: (0,1)");
    return Ok();
  }
  if (command.form == AtCommand::Form::Read) {
    Inform("+CSCB: 0," + Quoted(m_broadcastIds.List()) + ',' + Quoted(m_broadcastCodings.List()));
    return Ok();
  }
  const CValues values(command.values, 3);
  std::string lists[2];
  CNumberSet ids;
  CNumberSet codings;
  int mode = 0;
  if (!values.Valid() || !values.Number(0, 0, 1, &mode) || !values.Text(1, &lists[0]) || !values.Text(2, &lists[1]) ||
      !ids.Parse(lists[0]) || !codings.Parse(lists[1])) {
    return Error();
  }
  if (ids.Empty() && codings.Empty()) ids.AddAll();
  if (mode == 0) {
    m_broadcastIds.Add(ids);
    m_broadcastCodings.Add(codings);
  } else {
    m_broadcastIds.Remove(ids);
    m_broadcastCodings.Remove(codings);
  }
  return Ok();
}

/// Service centre and exactly tpduLength octets (3GPP TS 27.005, 4.3).
bool CSimulatedModem::ParsePdu(const std::string& digits, int tpduLength, StoredMessage* out) {
  BYTE octets[sms_pdu::kPduOctets];
  std::size_t size = 0;
  std::size_t centreOctets = 0;
  sms_pdu::Address centre;
  unsigned defects = 0;
  if (sms_pdu::HexToOctets(digits.data(), digits.size(), octets, sizeof octets, &size) != sms_pdu::PduError::None ||
      sms_pdu::DecodeServiceCentre(octets, size, &centre, &centreOctets, &defects) != sms_pdu::PduError::None ||
      size - centreOctets != static_cast<std::size_t>(tpduLength)) {
    return false;
  }
  out->pdu.assign(octets, octets + size);
  out->tpduLength = size - centreOctets;
  return true;
}

CSimulatedModem::Result CSimulatedModem::OnSend(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  if (!CardReady()) return CardError();
  if (TextMode()) return SendInText(command);
  const CValues values(command.values, 1);
  int length = 0;
  if (command.form != AtCommand::Form::Set || !values.Valid() || !values.Given(0) ||
      !values.Number(0, 1, sms_pdu::kTpduOctets, &length)) {
    return Cms(kCmsInvalidPduParameter);
  }
  OpenPrompt([this, length](const std::string& digits) {
    StoredMessage message;
    if (!ParsePdu(digits, length, &message)) return Cms(kCmsInvalidPduParameter);
    return Send(message, "+CMGS", nullptr);
  });
  return Later();
}

CSimulatedModem::Result CSimulatedModem::OnWrite(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  if (!CardReady()) return CardError();
  if (TextMode()) return WriteInText(command);
  const CValues values(command.values, 2);
  int length = 0;
  int status = static_cast<int>(MessageStatus::Unsent);
  if (command.form != AtCommand::Form::Set || !values.Valid() || !values.Given(0) ||
      !values.Number(0, 1, sms_pdu::kTpduOctets, &length) || !values.Number(1, 0, 3, &status)) {
    return Cms(kCmsInvalidPduParameter);
  }
  OpenPrompt([this, length, status](const std::string& digits) {
    StoredMessage message;
    message.status = static_cast<MessageStatus>(status);
    return ParsePdu(digits, length, &message) ? Write(message) : Cms(kCmsInvalidPduParameter);
  });
  return Later();
}

CSimulatedModem::Result CSimulatedModem::Write(const StoredMessage& message) {
  const int index = Store(m_memories[1]).Add(message);
  if (index == 0) return Cms(kCmsMemoryFull);
  Inform("+CMGW: " + std::to_string(index));
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnSendStored(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  if (!CardReady()) return CardError();
  const CValues values(command.values, 3);
  int index = 0;
  sms_pdu::Address to;
  if (!values.Valid() || !values.Number(0, 1, Store(m_memories[1]).Capacity(), &index)) return Cms(kCmsInvalidIndex);
  if (values.Given(1) && !TakeAddress(values, 1, &to)) return InvalidParameter();
  const Memory memory = m_memories[1];
  const StoredMessage* const stored = Store(memory).At(index);
  if (!stored) return Cms(kCmsInvalidIndex);
  StoredMessage message = *stored;
  if (message.status != MessageStatus::Unsent && message.status != MessageStatus::Sent) return Cms(kCmsNotAllowed);
  if (to.length != 0 && !Readdress(to, &message)) return Cms(kCmsInvalidPduParameter);
  return Send(message, "+CMSS", [this, memory, index] {
    if (StoredMessage* const sent = Store(memory).At(index)) sent->status = MessageStatus::Sent;
  });
}

CSimulatedModem::Result CSimulatedModem::OnList(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform(TextMode() ? "+CMGL: (\"REC UNREAD\",\"REC READ\",\"STO UNSENT\",\"STO SENT\",\"ALL\")" : "+CMGL: (0-4)");
    return Ok();
  }
  if (!CardReady()) return CardError();
  if (TextMode()) return ListInText(command);
  const CValues values(command.values, 1);
  int wanted = 0;
  if (command.form == AtCommand::Form::Read || !values.Valid() || !values.Number(0, 0, kStatusAll, &wanted)) {
    return Cms(kCmsInvalidPduParameter);
  }
  List(wanted);
  return Ok();
}

void CSimulatedModem::List(int wanted) {
  CMessageStore& store = Store(m_memories[0]);
  for (int index = 1; index <= store.Capacity(); ++index) {
    StoredMessage* const message = store.At(index);
    const int status = message ? static_cast<int>(message->status) : -1;
    if (!message || (wanted != kStatusAll && wanted != status)) continue;
    const std::string head = "+CMGL: " + std::to_string(index) + ',';
    if (TextMode()) {
      InformText(head, ListedText(*message, View()));
    } else {
      InformMessage(head + std::to_string(status), *message);
    }
    if (message->status == MessageStatus::Unread) message->status = MessageStatus::Read;
  }
}

CSimulatedModem::Result CSimulatedModem::OnRead(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  if (!CardReady()) return CardError();
  const CValues values(command.values, 1);
  int index = 0;
  if (!values.Valid() || !values.Number(0, 1, Store(m_memories[0]).Capacity(), &index)) return Cms(kCmsInvalidIndex);
  StoredMessage* const message = Store(m_memories[0]).At(index);
  if (!message) return Cms(kCmsInvalidIndex);
  if (TextMode()) {
    InformText("+CMGR: ", ReadText(*message, View()));
  } else {
    InformMessage("+CMGR: " + std::to_string(static_cast<int>(message->status)), *message);
  }
  if (message->status == MessageStatus::Unread) message->status = MessageStatus::Read;
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnDelete(const AtCommand& command) {
  if (!CardReady()) return CardError();
  CMessageStore& store = Store(m_memories[0]);
  if (command.form == AtCommand::Form::Test) {
    std::string indexes;
    for (int index = 1; index <= store.Capacity(); ++index) {
      if (store.At(index)) indexes += (indexes.empty() ? "" : ",") + std::to_string(index);
    }
    Inform("+CMGD: (" + indexes + "),(0-4)");
    return Ok();
  }
  const CValues values(command.values, 2);
  int index = 0;
  int flag = 0;
  if (!values.Valid() || !values.Number(1, 0, 4, &flag) ||
      !values.Number(0, flag == 0 ? 1 : 0, flag == 0 ? store.Capacity() : 65535, &index) || (flag == 0 && index == 0)) {
    return Cms(kCmsInvalidIndex);
  }
  for (int place = 1; place <= store.Capacity(); ++place) {
    const StoredMessage* const message = store.At(place);
    if (message && (flag == 0 ? place == index : Deletes(flag, message->status))) store.Remove(place);
  }
  HandOver();  // there may be room now for what the centre keeps
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnAcknowledge(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    if (!TextMode()) Inform("+CNMA: (0-2)");
    return Ok();
  }
  const CValues values(command.values, 2);
  int kind = 0;
  int length = 0;
  if (command.form == AtCommand::Form::Read || (TextMode() && command.form != AtCommand::Form::Execute) ||
      !values.Valid() || !values.Number(0, 0, 2, &kind) || !values.Number(1, 0, sms_pdu::kTpduOctets, &length)) {
    return InvalidParameter();
  }
  if (!m_bAwaitsAcknowledgement) return Cms(kCmsNoAcknowledgementExpected);
  const bool accepted = kind != 2;
  if (length != 0) return AcknowledgeWithPdu(accepted, length);
  Acknowledged(accepted);
  return Ok();
}

/// An SMS-DELIVER-REPORT without a service centre in front (<ackpdu> of 3GPP TS 27.005, 3.1).
CSimulatedModem::Result CSimulatedModem::AcknowledgeWithPdu(bool accepted, int length) {
  OpenPrompt([this, accepted, length](const std::string& digits) {
    BYTE octets[sms_pdu::kTpduOctets];
    std::size_t size = 0;
    if (sms_pdu::HexToOctets(digits.data(), digits.size(), octets, sizeof octets, &size) != sms_pdu::PduError::None ||
        size != static_cast<std::size_t>(length) || (octets[0] & 0x03) != 0) {
      return Cms(kCmsInvalidPduParameter);
    }
    Acknowledged(accepted);
    return Ok();
  });
  return Later();
}

}  // namespace modem_sim
