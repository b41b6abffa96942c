// A modem that exists only in this process: AT commands in, replies and unsolicited lines out.
#pragma once

#include "AtCommand.h"
#include "AtLine.h"
#include "MessageStore.h"
#include "ModemOptions.h"
#include "SmsPdu.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace modem_sim {

/// What the modem needs of the world around it. Threads: the modem's one thread.
class IModemWorld {
public:
  /// Sends to the computer.
  virtual void Write(const std::string& bytes) = 0;
  /// Calls once, later, never from inside this call; not any more once the modem is gone.
  virtual void After(int milliseconds, std::function<void()> call) = 0;
  /// Time of the service centre.
  virtual sms_pdu::TimeStamp Now() = 0;

protected:
  ~IModemWorld() {}
};

/// Purpose:  a 3GPP modem with a card (memory SM), its own memory (ME) and a network that confirms, refuses, reports
///           and brings back what is sent to its own number. PDU mode. 3GPP TS 27.005, 27.007, ITU-T V.250.
/// Threads:  one, that of the caller; calls of IModemWorld::After come on the same one.
/// Errors:   none; what the computer does wrong is answered in AT.
class CSimulatedModem {
public:
  /// @param world  must outlive the modem.
  CSimulatedModem(const ModemOptions& options, IModemWorld& world);
  CSimulatedModem(const CSimulatedModem&) = delete;
  CSimulatedModem& operator=(const CSimulatedModem&) = delete;

  /// Bytes from the computer, in any portions.
  void Receive(const char* bytes, std::size_t count);
  /// The computer has closed the port: a half line or an open prompt is forgotten, everything else stays.
  void HangUp();

  /// A message arrives at the service centre for this modem.
  /// @return false: it cannot be encoded, or the centre keeps too many already.
  bool Arrive(const sms_pdu::Deliver& message);
  /// The network comes and goes.
  void SetNetwork(bool present);
  /// Messages and reports that the centre has not been able to hand over yet.
  std::size_t Waiting() const { return m_lstWaiting.size(); }
  /// What the card (SM) holds.
  const CMessageStore& Card() const { return m_stores[static_cast<std::size_t>(Memory::Sim)]; }

private:
  enum class State { Command, Prompt, Busy };
  enum class Memory : std::size_t { Sim = 0, Equipment = 1 };

  /// How a command ended. Later: it has not; Finish() comes.
  struct Result {
    enum class Kind { Ok, Error, Cme, Cms, NoCarrier, Later };
    Kind kind = Kind::Ok;
    int code = 0;
  };

  // Places in the values of +CNMI.
  enum Indication : std::size_t { kMode = 0, kMt = 1, kBm = 2, kDs = 3, kBfr = 4 };

  typedef Result (CSimulatedModem::*Handler)(const AtCommand&);
  struct Entry {
    const char* name;
    Handler handler;
  };
  /// A command that only sets a number.
  struct NumberEntry {
    const char* name;
    int highest;  // from 0 on
    int CSimulatedModem::*value;
  };

  /// A message or a report on its way to the computer.
  struct Incoming {
    StoredMessage message;
    sms_pdu::DataCoding coding;
    bool isReport = false;
    bool hasReport = false;  // once delivered, report goes back to the sender
    sms_pdu::StatusReport report;
  };

  static Result Ok() { return {}; }
  static Result Error() { return {Result::Kind::Error, 0}; }
  static Result Cme(int code) { return {Result::Kind::Cme, code}; }
  static Result Cms(int code) { return {Result::Kind::Cms, code}; }
  static Result Later() { return {Result::Kind::Later, 0}; }
  static Result NoCarrier() { return {Result::Kind::NoCarrier, 0}; }

  // The dialogue: SimulatedModem.cpp
  void TakeCommandCharacter(char c);
  void TakePromptCharacter(char c);
  void StartLine(const std::string& body);
  void RunLine();
  Result Execute(const AtCommand& command);
  bool FindNumber(const AtCommand& command, Result* out);
  void Finish(const Result& result);
  void End(const Result& result);
  void OpenPrompt(std::function<Result(const std::string& text)> use);
  void Inform(const std::string& line);
  void WriteInformation();
  void WriteResult(const Result& result);
  void WriteText(const std::string& text);
  void Unsolicited(const std::string& line);
  void FlushUnsolicited();
  std::string LineEnd() const;
  void ResetSettings();

  // ITU-T V.250 and 3GPP TS 27.007: GeneralCommands.cpp
  static const std::vector<Entry>& GeneralCommands();
  Result OnNumberFlag(const AtCommand& command, bool* flag);
  Result OnEcho(const AtCommand& command);
  Result OnQuiet(const AtCommand& command);
  Result OnVerbose(const AtCommand& command);
  Result OnReset(const AtCommand& command);
  Result OnIgnored(const AtCommand& command);
  Result OnDial(const AtCommand& command);
  Result OnRegister(const AtCommand& command);
  Result OnIdentity(const AtCommand& command);
  Result OnCapabilities(const AtCommand& command);
  Result OnSubscriber(const AtCommand& command);
  Result OnOwnNumber(const AtCommand& command);
  Result OnPin(const AtCommand& command);
  Result OnLock(const AtCommand& command);
  Result OnSignal(const AtCommand& command);
  Result OnActivity(const AtCommand& command);
  Result OnFunctionality(const AtCommand& command);
  Result OnRegistration(const AtCommand& command);
  Result OnAttachment(const AtCommand& command);
  Result OnOperator(const AtCommand& command);
  Result OnCharacterSet(const AtCommand& command);
  Result Inform(const AtCommand& command, const std::string& text);
  bool CardReady() const { return !m_bLocked; }
  bool Registered() const { return m_bNetwork && CardReady() && m_iFunctionality == 1; }
  Result CardLocked() const;
  std::string RegistrationState() const;
  std::string Registration(int mode) const;
  void RegistrationChanged(const std::string& before);

  // 3GPP TS 27.005: MessageCommands.cpp
  static const std::vector<Entry>& MessageCommands();
  Result OnService(const AtCommand& command);
  Result OnPreferredMemory(const AtCommand& command);
  Result OnServiceCentre(const AtCommand& command);
  Result OnIndications(const AtCommand& command);
  Result OnBroadcastTypes(const AtCommand& command);
  Result OnSend(const AtCommand& command);
  Result OnWrite(const AtCommand& command);
  Result OnSendStored(const AtCommand& command);
  Result OnList(const AtCommand& command);
  Result OnRead(const AtCommand& command);
  Result OnDelete(const AtCommand& command);
  Result OnAcknowledge(const AtCommand& command);
  Result CardError() const;
  static bool ParsePdu(const std::string& digits, int tpduLength, StoredMessage* out);
  CMessageStore& Store(Memory memory) { return m_stores[static_cast<std::size_t>(memory)]; }
  static const char* NameOf(Memory memory) { return memory == Memory::Sim ? "SM" : "ME"; }
  std::string Fill(Memory memory);
  void InformMessage(const std::string& head, const StoredMessage& message);
  static std::string HexOf(const std::vector<BYTE>& octets);

  // The network: Network.cpp
  Result Send(const StoredMessage& message, const char* replyName, std::function<void()> accepted);
  Result Judge(const sms_pdu::Submit& submit);
  void Carry(const sms_pdu::Submit& submit, BYTE reference);
  bool Wrap(const BYTE* tpdu, std::size_t size, StoredMessage* out) const;
  bool Queue(const sms_pdu::Deliver& message, const sms_pdu::StatusReport* report);
  void QueueReport(sms_pdu::StatusReport report);
  void HandOver();
  bool GoesDirectly(const Incoming& incoming) const;
  bool HandOverDirectly(const Incoming& incoming);
  bool HandOverStored(const Incoming& incoming);
  void Indicate(const std::string& line);
  void Delivered(const Incoming& incoming);
  void AwaitAcknowledgement(const Incoming& incoming);
  void Acknowledged(bool accepted);

  // constant after construction
  const ModemOptions m_options;
  IModemWorld& m_world;

  // the dialogue
  State m_state = State::Command;
  CAtLine m_line;
  std::string m_strBody;  // line under execution, and the one that A/ repeats
  std::size_t m_uPosition = 0;
  std::string m_strPrompt;
  bool m_bPromptTooLong = false;
  std::function<Result(const std::string&)> m_usePrompt;
  std::vector<std::string> m_lstInformation;
  std::deque<std::string> m_lstUnsolicited;
  std::string m_strHeld;                  // typed while a command is carried out
  std::deque<std::string> m_lstBuffered;  // indications that +CNMI <mode> 0 keeps back

  // settings of ATZ and AT&F
  bool m_bEcho = true;
  bool m_bQuiet = false;
  bool m_bVerbose = true;
  std::array<int, 13> m_registers{};
  int m_iErrorForm = 0;
  int m_iFormat = 0;
  int m_iCircuitMode = 0;
  int m_iPacketMode = 0;
  int m_iOperatorFormat = 0;
  int m_iMoreMessages = 0;
  int m_iBearer = 1;
  int m_iService = 0;
  std::array<int, 5> m_indications{};  // by Indication
  std::string m_strCharacterSet = "GSM";

  // the device
  bool m_bLocked = false;
  int m_iPinTries = 3;
  bool m_bNetwork = true;
  int m_iFunctionality = 1;
  std::string m_strServiceCentre;
  std::string m_strBroadcastIds;
  std::string m_strBroadcastCodings;
  int m_iBroadcastMode = 0;
  std::array<CMessageStore, 2> m_stores;
  std::array<Memory, 3> m_memories{Memory::Sim, Memory::Sim, Memory::Sim};

  // the network
  BYTE m_btReference = 0;
  int m_iSends = 0;
  std::deque<Incoming> m_lstWaiting;
  bool m_bAwaitsAcknowledgement = false;
  std::uint64_t m_uDelivery = 0;  // tells a late time-out from that of the current delivery
  Incoming m_unacknowledged;
};

}  // namespace modem_sim
