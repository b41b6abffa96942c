// A modem that exists only in this process: AT commands in, replies and unsolicited lines out.
#pragma once

#include "AtCommand.h"
#include "AtLine.h"
#include "CellBroadcast.h"
#include "MessageStore.h"
#include "ModemOptions.h"
#include "NumberSet.h"
#include "Phonebook.h"
#include "SlowLine.h"
#include "SmsPdu.h"
#include "TextMode.h"

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
  /// The port vanishes, and comes back. A world without a cable does nothing.
  virtual void Unplug() {}
  /// @return false: *error says why.
  virtual bool Plug(std::string*) { return true; }

protected:
  ~IModemWorld() {}
};

/// What is at the modem's end of a port. Threads: the modem's one thread.
class IPortUser {
public:
  /// Bytes from the computer, in any portions.
  virtual void Receive(const char* bytes, std::size_t count) = 0;
  /// The computer has closed the port.
  virtual void HangUp() = 0;

protected:
  ~IPortUser() {}
};

enum class Memory : std::size_t { Sim = 0, Equipment = 1 };

/// What became of a broadcast page.
enum class PageFate { Shown, NotSelected, NotWanted, NoNetwork, Unencodable };

/// A message that the network has accepted.
struct SentMessage {
  std::string number;
  BYTE reference = 0;
  std::vector<BYTE> tpdu;
};

/// Purpose:  a 3GPP modem with a card (memory SM), its own memory (ME) and a network that confirms, refuses, reports
///           and brings back what is sent to its own number. PDU mode and text mode. 3GPP TS 27.005, 27.007, ITU-T
///           V.250.
/// Threads:  one, that of the caller; calls of IModemWorld::After come on the same one.
/// Errors:   none; what the computer does wrong is answered in AT.
class CSimulatedModem : public IPortUser {
public:
  /// @param world  must outlive the modem.
  CSimulatedModem(const ModemOptions& options, IModemWorld& world);
  CSimulatedModem(const CSimulatedModem&) = delete;
  CSimulatedModem& operator=(const CSimulatedModem&) = delete;

  /// Bytes from the computer, in any portions.
  void Receive(const char* bytes, std::size_t count) override;
  /// The computer has closed the port: a half line or an open prompt is forgotten, everything else stays.
  void HangUp() override;

  // The network: Network.cpp

  /// A message arrives at the service centre for this modem.
  /// @return false: it cannot be encoded, or the centre keeps too many already.
  bool Arrive(const sms_pdu::Deliver& message);
  bool Arrive(const sms_pdu::StatusReport& report);
  /// The same for the octets of an SMS-DELIVER or SMS-STATUS-REPORT, damaged ones too.
  /// @return false: there are none or more than a TPDU has, or the centre keeps too many already.
  bool ArriveTpdu(const std::vector<BYTE>& tpdu);
  PageFate Broadcast(const sms_pdu::BroadcastPage& page);
  /// Messages and reports that the centre has not been able to hand over yet.
  std::size_t Waiting() const { return m_lstWaiting.size(); }
  /// The last kSentLimit accepted messages, in order; valid until the modem does something.
  static const std::size_t kSentLimit = 100000;
  const std::deque<SentMessage>& Sent() const { return m_lstSent; }
  void ForgetSent() { m_lstSent.clear(); }

  // What happens to the device: Events.cpp

  void SetNetwork(NetworkState state);
  /// @param value  <rssi> of +CSQ: 0..31, 99: unknown.
  void SetSignal(int value);
  /// @param pin  what unlocks the card from now on; empty: the one it has, "1234" when it has none.
  void SetCard(CardState state, const std::string& pin = std::string());
  /// Somebody calls: RING every five seconds until EndCall() or ATH.
  void Ring(const std::string& number);
  void EndCall();
  /// The power goes with the line, and comes with it.
  void Unplug();
  /// @return false: *error says why.
  bool Plug(std::string* error);
  /// Without power the modem hears and says nothing; with it, it starts with the settings of ATZ and a locked card.
  void PowerOff();
  void PowerOn();
  /// Power off, and on again after this time.
  void Restart(int milliseconds);
  bool Powered() const { return m_bPowered; }
  /// What a memory holds.
  const CMessageStore& MemoryOf(Memory memory) const { return m_stores[static_cast<std::size_t>(memory)]; }
  /// Fills the free places with messages of the service centre.
  /// @return how many they were.
  int Fill(Memory memory);
  CFaults& Faults() { return m_faults; }
  /// @param baud  speed of the line, both ways, ten bits an octet; 0: at once.
  void SetBaud(int baud);

private:
  static const int kPinTries = 3;
  static const int kPhonebookCapacity = 50;

  enum class State { Command, Prompt, Busy };
  /// <mode> of +COPS (3GPP TS 27.007, 7.3).
  enum class Selection { Automatic = 0, Manual = 1, None = 2, ManualThenAutomatic = 4 };
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

  /// What +CCLK has set, against the time of the service centre.
  struct Clock {
    bool set = false;
    std::int8_t zoneQuarters = 0;
    std::int64_t secondsAhead = 0;
  };

  /// What +CSAS keeps for +CRES.
  struct SavedSettings {
    std::string serviceCentre;
    TextParameters textParameters;
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
  void Hear(const std::string& bytes);
  void TakeCommandCharacter(char c);
  void TakePromptCharacter(char c);
  void StartLine(const std::string& body);
  void RunLine();
  bool Step(const AtCommand& command);
  bool Misbehaves(const std::string& command);
  bool HangsUp(HangUpPoint point);
  int LatencyOf(const std::string& command) const;
  void Put(const std::string& bytes);
  Result Execute(const AtCommand& command);
  static std::array<const std::vector<Entry>*, 7> Tables();
  static const std::vector<NumberEntry>& NumberCommands();
  bool Lacks(const std::string& command) const;
  bool FindNumber(const AtCommand& command, Result* out);
  void Finish(const Result& result);
  void End(const Result& result);
  /// @param lines  every line is prompted for and its end is kept; otherwise the ends of lines do not count.
  void OpenPrompt(std::function<Result(const std::string& text)> use, bool lines = false);
  void Inform(const std::string& line);
  void WriteInformation();
  void WriteResult(const Result& result);
  void WriteText(const std::string& text);
  void Unsolicited(const std::string& line);
  void FlushUnsolicited();
  std::string LineEnd() const;
  void ResetSettings();

  // ITU-T V.250: BasicCommands.cpp
  static const std::vector<Entry>& BasicCommands();
  Result OnNumberFlag(const AtCommand& command, bool* flag);
  Result OnEcho(const AtCommand& command);
  Result OnQuiet(const AtCommand& command);
  Result OnVerbose(const AtCommand& command);
  Result OnReset(const AtCommand& command);
  Result OnIgnored(const AtCommand& command);
  Result OnHangUpCall(const AtCommand& command);
  Result OnRegister(const AtCommand& command);
  Result OnShowSettings(const AtCommand& command);
  void ResetRegisters();

  // 3GPP TS 27.007: GeneralCommands.cpp
  static const std::vector<Entry>& GeneralCommands();
  Result OnListCommands(const AtCommand& command);
  Result OnNetworkKind(const AtCommand& command);
  Result OnIdentity(const AtCommand& command);
  Result OnSerialNumber(const AtCommand& command);
  Result OnCapabilities(const AtCommand& command);
  Result OnSubscriber(const AtCommand& command);
  Result OnOwnNumber(const AtCommand& command);
  Result OnPin(const AtCommand& command);
  Result OnSignal(const AtCommand& command);
  Result OnActivity(const AtCommand& command);
  Result OnFunctionality(const AtCommand& command);
  Result OnRegistration(const AtCommand& command);
  Result OnAttachment(const AtCommand& command);
  Result OnOperator(const AtCommand& command);
  void Select(Selection selection);
  Result OnCharacterSet(const AtCommand& command);
  Result Inform(const AtCommand& command, const std::string& text);
  bool CardReady() const { return m_card == CardState::Ready; }
  bool OnAir() const { return m_bPowered && m_iFunctionality == 1 && m_selection != Selection::None; }
  bool Registered() const;
  Result CardLocked() const;
  std::string RegistrationState() const;
  std::string Registration(int mode) const;
  void RegistrationChanged(const std::string& before);

  // The line to the computer, and calls: LineCommands.cpp
  static constexpr std::array<int, 2> kFlowControl{2, 2};
  static const std::vector<Entry>& LineCommands();
  Result OnCall(const AtCommand& command);
  Result OnRate(const AtCommand& command);
  Result OnFlowControl(const AtCommand& command);
  Result OnServiceClass(const AtCommand& command);

  // Lock, number and phonebooks of the card: CardCommands.cpp
  static const std::vector<Entry>& CardCommands();
  Result OnLock(const AtCommand& command);
  Result OnPassword(const AtCommand& command);
  Result OnCardNumber(const AtCommand& command);
  Result OnCardFile(const AtCommand& command);
  Result OnPhonebook(const AtCommand& command);
  Result OnReadPhonebook(const AtCommand& command);
  Result OnFindPhonebook(const AtCommand& command);
  Result OnWritePhonebook(const AtCommand& command);
  static bool IsPin(const std::string& text);
  bool IsPinOfCard(const std::string& pin);
  CPhonebook OwnNumbers() const;
  CPhonebook Phonebook() const { return m_bOwnNumbers ? OwnNumbers() : m_phonebook; }
  void InformEntry(const std::string& name, int index, const PhonebookEntry& entry);

  // Services of the network and of the device: ServiceCommands.cpp
  static const std::vector<Entry>& ServiceCommands();
  Result OnUssd(const AtCommand& command);
  Result OnCallerNumber(const AtCommand& command);
  Result OnClock(const AtCommand& command);
  Result OnBattery(const AtCommand& command);
  void TellUssd(const std::string& code, int dcs);
  CharacterSet UssdSet(int dcs) const;
  std::string CallerLine() const;

  // What only some profiles have: ProfileCommands.cpp
  static const std::vector<Entry>& ProfileCommands();
  Result OnSystemInfo(const AtCommand& command);
  Result OnPinTries(const AtCommand& command);
  Result Unblock(const CValues& values);

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
  Result AcknowledgeWithPdu(bool accepted, int length);
  Result CardError() const;
  Result InvalidParameter() const;
  Result Write(const StoredMessage& message);
  void List(int wanted);
  static bool ParsePdu(const std::string& digits, int tpduLength, StoredMessage* out);
  CMessageStore& Store(Memory memory) { return m_stores[static_cast<std::size_t>(memory)]; }
  static const char* NameOf(Memory memory) { return memory == Memory::Sim ? "SM" : "ME"; }
  std::string FillOf(Memory memory);
  void InformMessage(const std::string& head, const StoredMessage& message);

  // Its text mode: TextCommands.cpp
  bool TextMode() const { return m_iFormat == 1; }
  Result OnTextParameters(const AtCommand& command);
  Result OnSaveSettings(const AtCommand& command);
  Result OnRestoreSettings(const AtCommand& command);
  Result SendInText(const AtCommand& command);
  Result WriteInText(const AtCommand& command);
  Result ListInText(const AtCommand& command);
  void InformText(const std::string& head, const TextLines& lines);
  bool TakeNumber(const CValues& values, std::size_t place, std::string* number) const;
  bool TakeAddress(const CValues& values, std::size_t place, sms_pdu::Address* address) const;
  std::string Shown(const std::string& text) const { return EncodeAscii(m_characterSet, text); }
  TextView View() const { return {m_characterSet, m_iShowHeader == 1}; }
  std::string Joined(const std::string& name, const TextLines& lines) const;
  std::string DirectLines(const Incoming& incoming) const;
  std::string PageLines(const sms_pdu::BroadcastPage& page, const std::vector<BYTE>& octets) const;

  // The network: Network.cpp
  Result Send(const StoredMessage& message, const char* replyName, std::function<void()> accepted);
  void WatchLink();
  void TellVerdict(const Result& verdict, int milliseconds);
  Result Judge(const sms_pdu::Submit& submit);
  void Carry(const sms_pdu::Submit& submit, BYTE reference);
  bool Wrap(const BYTE* tpdu, std::size_t size, StoredMessage* out) const;
  bool Queue(const sms_pdu::Deliver& message, const sms_pdu::StatusReport* report);
  bool QueueTpdu(const BYTE* tpdu, std::size_t size, Incoming incoming);
  void QueueReport(sms_pdu::StatusReport report);
  void Note(const StoredMessage& message, const sms_pdu::Submit& submit);
  void HandOver();
  bool GoesDirectly(const Incoming& incoming) const;
  bool HandOverDirectly(const Incoming& incoming);
  bool HandOverStored(const Incoming& incoming);
  void Indicate(const std::string& line);
  void Delivered(const Incoming& incoming);
  void AwaitAcknowledgement(const Incoming& incoming);
  void Acknowledged(bool accepted);
  void PutBack();
  void RingOnce(std::uint64_t call);
  void TellFull(Memory memory);
  StoredMessage Filler(int number);

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
  bool m_bPromptLines = false;
  std::function<Result(const std::string&)> m_usePrompt;
  std::vector<std::string> m_lstInformation;
  std::deque<std::string> m_lstUnsolicited;
  std::string m_strCommand;               // under execution
  bool m_bMute = false;                   // this line gets no reply
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
  int m_iEpsMode = 0;
  int m_iOperatorFormat = 0;
  int m_iMoreMessages = 0;
  int m_iBearer = 1;
  int m_iService = 0;
  std::array<int, 5> m_indications{};  // by Indication
  CharacterSet m_characterSet = CharacterSet::Gsm;
  int m_iShowHeader = 0;
  int m_iUssd = 0;
  int m_iCallerNumber = 0;
  int m_iRingForm = 0;
  int m_iNotices = 0;  // of the maker
  int m_iRate = 0;
  std::array<int, 2> m_flowControl = kFlowControl;
  TextParameters m_textParameters;

  // the device
  bool m_bPowered = true;
  std::uint64_t m_uLife = 0;  // counts up when the power goes
  CardState m_card = CardState::Ready;
  std::string m_strPin;                 // empty: no lock
  std::string m_strUnusedPin = "1234";  // while there is no lock
  int m_iPinTries = 3;
  int m_iPukTries = 10;
  NetworkState m_network = NetworkState::Home;
  int m_iSignal = 20;
  int m_iFunctionality = 1;
  Selection m_selection = Selection::Automatic;
  std::string m_strServiceCentre;
  CNumberSet m_broadcastIds;      // accepted
  CNumberSet m_broadcastCodings;  // accepted; none: all
  SavedSettings m_saved;
  CPhonebook m_phonebook{kPhonebookCapacity};
  bool m_bOwnNumbers = false;  // +CPBS="ON"
  Clock m_clock;
  std::array<CMessageStore, 2> m_stores;
  std::array<Memory, 3> m_memories{Memory::Sim, Memory::Sim, Memory::Sim};

  CFaults m_faults;
  CSlowLine m_toComputer;
  CSlowLine m_fromComputer;

  // the network
  BYTE m_btReference = 0;
  std::uint64_t m_uSends = 0;  // verdicts told
  bool m_bWatchesLink = false;
  std::deque<SentMessage> m_lstSent;
  std::string m_strCaller;  // empty: nobody calls
  std::uint64_t m_uCall = 0;
  std::deque<Incoming> m_lstWaiting;
  bool m_bAwaitsAcknowledgement = false;
  std::uint64_t m_uDelivery = 0;  // tells a late time-out from that of the current delivery
  Incoming m_unacknowledged;
};

}  // namespace modem_sim
