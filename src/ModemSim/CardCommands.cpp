// Commands of 3GPP TS 27.007 about the card: its lock, its number, its phonebooks.
#include "ErrorCodes.h"
#include "SimulatedModem.h"

#include <algorithm>
#include <iterator>

namespace modem_sim {
namespace {

const char kCardNumber[] = "8949001000000000017";  // ITU-T E.118
const char kPinFacility[] = "SC";
const int kPinLength = 8;

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

/// Takes the '+' away, which the type says as well.
PhonebookEntry EntryOf(const std::string& number, int type) {
  PhonebookEntry entry;
  const bool plus = number.rfind('+', 0) == 0;
  entry.number = plus ? number.substr(1) : number;
  entry.type = type != 0 ? type : plus ? 145 : 129;
  return entry;
}

/// Transparent files (3GPP TS 31.102, 4.2).
struct CardFile {
  int id;
  const char* octets;  // hexadecimal
  bool beforePin;      // may be read on a locked card
};
const CardFile kCardFiles[] = {{0x2FE2, "989400010000000010F7", true},  // kCardNumber
                               {0x6F07, "080910101032547698", false}};  // the subscriber's number

const int kReadBinary = 176;

// SW1 and SW2 (ETSI TS 102 221, 10.2.1)
const char kDone[] = "144,0";
const char kWrongLength[] = "103,0";
const char kNoRight[] = "105,130";
const char kNoFile[] = "106,130";

/// What the card answers: the octets from there on, as many as are asked for; 0: all.
std::string FileAnswer(int command, int id, bool ready, std::size_t from, std::size_t octets) {
  const auto* const file =
      std::find_if(std::begin(kCardFiles), std::end(kCardFiles), [id](const CardFile& row) { return row.id == id; });
  if (file == std::end(kCardFiles)) return kNoFile;
  if (command != kReadBinary || (!ready && !file->beforePin)) return kNoRight;
  const std::string content = file->octets;
  const std::size_t size = content.size() / 2;
  if (from > size || octets > size - from) return kWrongLength;
  return kDone + (',' + Quoted(content.substr(2 * from, octets == 0 ? std::string::npos : 2 * octets)));
}

bool IsDiallable(const std::string& number) {
  return number.size() <= CPhonebook::kNumberLength && number.find_first_not_of("0123456789*#ABC") == std::string::npos;
}

}  // namespace

const std::vector<CSimulatedModem::Entry>& CSimulatedModem::CardCommands() {
  typedef CSimulatedModem M;
  static const std::vector<Entry> kCommands = {
      {"+CLCK", &M::OnLock},          {"+CPWD", &M::OnPassword},       {"+CCID", &M::OnCardNumber},
      {"+ICCID", &M::OnCardNumber},   {"+CPBS", &M::OnPhonebook},      {"+CPBR", &M::OnReadPhonebook},
      {"+CPBF", &M::OnFindPhonebook}, {"+CPBW", &M::OnWritePhonebook}, {"+CRSM", &M::OnCardFile},
  };
  return kCommands;
}

bool CSimulatedModem::IsPin(const std::string& text) {
  return text.size() >= 4 && text.size() <= 8 && text.find_first_not_of("0123456789") == std::string::npos;
}

/// Whether it is the card's PIN; a wrong one counts against the tries.
bool CSimulatedModem::IsPinOfCard(const std::string& pin) {
  if (pin == (m_strPin.empty() ? m_strUnusedPin : m_strPin)) {
    m_iPinTries = kPinTries;
    return true;
  }
  m_iPinTries = std::max(m_iPinTries - 1, 0);
  if (m_iPinTries == 0) SetCard(CardState::Puk);
  return false;
}

/// The one facility is SC, the PIN at the start.
CSimulatedModem::Result CSimulatedModem::OnLock(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CLCK: (\"SC\")");
    return Ok();
  }
  const CValues values(command.values, 4);
  std::string facility;
  std::string pin;
  int mode = -1;
  if (command.form != AtCommand::Form::Set || !values.Valid() || !values.Text(0, &facility) ||
      !values.Number(1, 0, 2, &mode) || !values.Text(2, &pin)) {
    return Cme(kCmeIncorrectParameters);
  }
  if (facility != kPinFacility) return Cme(kCmeNotAllowed);
  if (mode == 2) {
    Inform(std::string("+CLCK: ") + (m_strPin.empty() ? "0" : "1"));
    return Ok();
  }
  if (!CardReady()) return CardLocked();
  if (mode < 0 || !IsPin(pin)) return Cme(kCmeIncorrectParameters);
  if (!IsPinOfCard(pin)) return Cme(kCmeIncorrectPassword);
  (mode == 1 ? m_strPin : m_strUnusedPin) = pin;
  if (mode == 0) m_strPin.clear();
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnPassword(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CPWD: (\"SC\"," + std::to_string(kPinLength) + ')');
    return Ok();
  }
  const CValues values(command.values, 3);
  std::string facility;
  std::string before;
  std::string after;
  if (command.form != AtCommand::Form::Set || !values.Valid() || !values.Text(0, &facility) ||
      !values.Text(1, &before) || !values.Text(2, &after) || !IsPin(before) || !IsPin(after)) {
    return Cme(kCmeIncorrectParameters);
  }
  if (!CardReady()) return CardLocked();
  if (facility != kPinFacility || m_strPin.empty()) return Cme(kCmeNotAllowed);  // a card changes only a PIN in use
  if (!IsPinOfCard(before)) return Cme(kCmeIncorrectPassword);
  m_strPin = after;
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnCardNumber(const AtCommand& command) {
  if (command.form == AtCommand::Form::Execute && m_card == CardState::Absent) return CardLocked();
  return Inform(command, command.name + ": " + kCardNumber);
}

/// Reading as programs do that look for the card's numbers (3GPP TS 27.007, 8.18); there are no other files, and
/// nothing can be written.
CSimulatedModem::Result CSimulatedModem::OnCardFile(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  if (m_card == CardState::Absent || m_card == CardState::Busy) return CardLocked();
  const CValues values(command.values, 7);
  int action = 0;
  int id = 0;
  int high = 0;
  int low = 0;
  int octets = 0;
  if (command.form != AtCommand::Form::Set || !values.Valid() || !values.Given(0) ||
      !values.Number(0, kReadBinary, 255, &action) || !values.Number(1, 0, 0xFFFF, &id) ||
      !values.Number(2, 0, 255, &high) || !values.Number(3, 0, 255, &low) || !values.Number(4, 0, 255, &octets)) {
    return Cme(kCmeIncorrectParameters);
  }
  const std::size_t from = static_cast<std::size_t>(high) * 256 + static_cast<std::size_t>(low);
  Inform("+CRSM: " + FileAnswer(action, id, CardReady(), from, static_cast<std::size_t>(octets)));
  return Ok();
}

/// SM: written by the computer. ON: the own number, read only.
CSimulatedModem::Result CSimulatedModem::OnPhonebook(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CPBS: (\"SM\",\"ON\")");
    return Ok();
  }
  if (!CardReady()) return CardLocked();
  if (command.form == AtCommand::Form::Read) {
    const CPhonebook& book = Phonebook();
    Inform("+CPBS: " + Quoted(m_bOwnNumbers ? "ON" : "SM") + ',' + std::to_string(book.Used()) + ',' +
           std::to_string(book.Capacity()));
    return Ok();
  }
  const CValues values(command.values, 1);
  std::string name;
  if (!values.Valid() || !values.Text(0, &name) || (name != "SM" && name != "ON")) {
    return Cme(kCmeIncorrectParameters);
  }
  m_bOwnNumbers = name == "ON";
  return Ok();
}

CPhonebook CSimulatedModem::OwnNumbers() const {
  CPhonebook book(1);
  book.Put(1, EntryOf(m_options.number, 0));
  return book;
}

/// <number> is ASCII whatever +CSCS says, <text> is not (3GPP TS 27.007, 8.12).
void CSimulatedModem::InformEntry(const std::string& name, int index, const PhonebookEntry& entry) {
  const std::string plus = entry.type == 145 ? "+" : "";
  Inform(name + ": " + std::to_string(index) + ',' + Quoted(plus + entry.number) + ',' + std::to_string(entry.type) +
         ',' + Quoted(Encode(m_characterSet, entry.name)));
}

CSimulatedModem::Result CSimulatedModem::OnReadPhonebook(const AtCommand& command) {
  if (!CardReady()) return CardLocked();
  const CPhonebook book = Phonebook();
  if (command.form == AtCommand::Form::Test) {
    Inform("+CPBR: (1-" + std::to_string(book.Capacity()) + ")," + std::to_string(CPhonebook::kNumberLength) + ',' +
           std::to_string(CPhonebook::kNameLength));
    return Ok();
  }
  const CValues values(command.values, 2);
  int first = 0;
  int last = 0;
  if (command.form != AtCommand::Form::Set || !values.Valid() || !values.Given(0) ||
      !values.Number(0, 1, book.Capacity(), &first)) {
    return Cme(kCmeInvalidIndex);
  }
  last = first;
  if (!values.Number(1, first, book.Capacity(), &last)) return Cme(kCmeInvalidIndex);
  for (int index = first; index <= last; ++index) {
    if (const PhonebookEntry* const entry = book.At(index)) InformEntry("+CPBR", index, *entry);
  }
  return Ok();
}

/// Entries whose name begins with the text.
CSimulatedModem::Result CSimulatedModem::OnFindPhonebook(const AtCommand& command) {
  if (!CardReady()) return CardLocked();
  if (command.form == AtCommand::Form::Test) {
    Inform("+CPBF: " + std::to_string(CPhonebook::kNumberLength) + ',' + std::to_string(CPhonebook::kNameLength));
    return Ok();
  }
  const CValues values(command.values, 1);
  std::string octets;
  VELK_wstring start;
  if (command.form != AtCommand::Form::Set || !values.Valid() || !values.Given(0) || !values.Text(0, &octets) ||
      !Decode(m_characterSet, octets, &start)) {
    return Cme(kCmeIncorrectParameters);
  }
  const CPhonebook book = Phonebook();
  bool found = false;
  for (int index = 1; index <= book.Capacity(); ++index) {
    const PhonebookEntry* const entry = book.At(index);
    if (!entry || entry->name.rfind(start, 0) != 0) continue;
    InformEntry("+CPBF", index, *entry);
    found = true;
  }
  return found ? Ok() : Cme(kCmeNotFound);
}

CSimulatedModem::Result CSimulatedModem::OnWritePhonebook(const AtCommand& command) {
  if (!CardReady()) return CardLocked();
  if (command.form == AtCommand::Form::Test) {
    Inform("+CPBW: (1-" + std::to_string(Phonebook().Capacity()) + ")," + std::to_string(CPhonebook::kNumberLength) +
           ",(128-255)," + std::to_string(CPhonebook::kNameLength));
    return Ok();
  }
  if (m_bOwnNumbers) return Cme(kCmeNotAllowed);
  const CValues values(command.values, 4);
  int index = m_phonebook.FirstFree();
  int type = 0;
  std::string number;
  std::string octets;
  if (command.form != AtCommand::Form::Set || !values.Valid() || values.Count() == 0 ||
      !values.Number(0, 1, m_phonebook.Capacity(), &index)) {
    return Cme(kCmeInvalidIndex);
  }
  if (!values.Text(1, &number) || !values.Number(2, 128, 255, &type) || !values.Text(3, &octets)) {
    return Cme(kCmeIncorrectParameters);
  }
  PhonebookEntry entry = EntryOf(number, type);
  if (!IsDiallable(entry.number)) return Cme(kCmeInvalidDialString);
  if (!Decode(m_characterSet, octets, &entry.name)) return Cme(kCmeInvalidText);
  if (entry.name.size() > CPhonebook::kNameLength) return Cme(kCmeTextTooLong);
  if (index == 0) return Cme(kCmeMemoryFull);
  m_phonebook.Put(index, entry);
  return Ok();
}

}  // namespace modem_sim
