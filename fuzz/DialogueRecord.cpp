// The format of kept dialogues: a line that is written reads back, and a dialogue that was recorded plays again with
// the computer it was recorded of, masked or not.
#include "DialogueRecord.h"

#include "FakeWorld.h"
#include "Property.h"
#include "Replay.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

using namespace fuzz;
using namespace sms_pdu;

namespace {

const DWORD kStepMs = 10;

bool Equal(const RecordLine& a, const RecordLine& b) {
  return a.milliseconds == b.milliseconds && a.fromModem == b.fromModem && a.bytes == b.bytes;
}

/// The line octet by octet, as the format has it.
std::string Written(const RecordLine& line) {
  const char kDigits[] = "0123456789ABCDEF";
  const std::string rest = std::to_string(1000 + line.milliseconds % 1000).substr(1);
  std::string text = std::to_string(line.milliseconds / 1000) + '.' + rest + (line.fromModem ? " < " : " > ");
  for (const char c : line.bytes) {
    const auto octet = static_cast<unsigned char>(c);
    const bool plain = octet >= ' ' && octet <= '~' && octet != '<';
    text += plain ? std::string(1, c) : std::string("<") + kDigits[octet >> 4] + kDigits[octet & 15] + '>';
  }
  return text;
}

void RequireReadsBack(const RecordLine& line) {
  const std::string text = FormatRecordLine(line);
  Require(text == Written(line), "a line is written as the format has it");
  RecordLine back;
  Require(ParseRecordLine(text, &back) && Equal(line, back), "a line reads back");
}

/// Zeros in front of the time and escapes of characters that need none read too, but are not written.
void TryLine(const std::string& text) {
  const RecordLine fresh{7, true, "fresh"};
  RecordLine line = fresh;
  if (!ParseRecordLine(text, &line)) {
    Require(Equal(line, fresh), "what is no line changes nothing");
    return;
  }
  RequireReadsBack(line);
  const std::string again = FormatRecordLine(line);
  Require(again.size() <= text.size(), "a line is written in its shortest form");
  const bool zeroInFront = text[0] == '0' && text[1] != '.';
  const bool escaped = text.find('<', text.find(' ') + 2) != std::string::npos;
  Require(zeroInFront || escaped || again == text, "a line that was read is the same when written");
}

/// What one side wrote at once.
struct Piece {
  bool fromModem;
  std::string bytes;
};

/// Of the computer.
bool EndsLine(char c) { return c == '\r' || c == '\x1A' || c == '\x1B'; }

/// Both sides in turns, the computer first. Its last line ends, for a player waits for whole lines.
std::vector<Piece> Conversation(const std::string& text) {
  std::vector<Piece> pieces = {{false, ""}};
  bool open = false;
  for (const char c : text) {
    if (c == '\0') {
      pieces.push_back({!pieces.back().fromModem, ""});
      continue;
    }
    pieces.back().bytes += c;
    if (!pieces.back().fromModem) open = !EndsLine(c);
  }
  if (open) pieces.push_back({false, "\r"});
  return pieces;
}

std::vector<std::string> Recorded(const std::vector<Piece>& pieces, bool masked, bool byOctet) {
  std::vector<std::string> lines;
  CDialogueRecorder recorder(masked, [&](const std::string& line) { lines.push_back(line); });
  DWORD now = 0;
  for (const Piece& piece : pieces) {
    now += kStepMs;
    if (!byOctet) recorder.Take(piece.bytes, piece.fromModem, now);
    for (std::size_t i = 0; byOctet && i < piece.bytes.size(); ++i) {
      recorder.Take(piece.bytes.substr(i, 1), piece.fromModem, now);
    }
  }
  recorder.End(false);
  recorder.End(true);
  return lines;
}

/// How much of what the modem has said the computer can have waited for: whole lines, and a prompt.
std::size_t Heard(const std::string& modem) {
  const std::size_t lines = modem.rfind('\n') + 1;  // npos + 1 is 0
  return modem.compare(lines, std::string::npos, "> ") == 0 ? modem.size() : lines;
}

void RequirePlays(const std::vector<Piece>& pieces, const std::vector<std::string>& record, bool masked) {
  std::stringstream file;
  for (const std::string& line : record) file << line << '\n';
  CFakeWorld world;
  int ends = 0;
  modem_sim::CReplay replay(world, [&](const std::string& difference) {
    ++ends;
    Require(difference.empty(), "the computer of the record is the computer of the record");
  });
  std::string error;
  const bool loaded = replay.Load(file, &error);
  Require(loaded == (record.size() > 1), "a record loads unless nobody said anything");
  if (!loaded) return;
  const int longEnoughMs = static_cast<int>(3 * kStepMs * (pieces.size() + 1));
  std::string modem;
  std::string played;
  bool lineBegins = true;
  const auto play = [&] {
    world.Advance(longEnoughMs);
    played += world.TakeOutput();
  };
  replay.Start();
  for (const Piece& piece : pieces) {
    if (piece.fromModem) modem += piece.bytes;
    if (piece.fromModem || piece.bytes.empty()) continue;
    play();
    Require(!lineBegins || played.size() >= Heard(modem), "the modem says what the computer waits for");
    replay.Receive(piece.bytes.data(), piece.bytes.size());
    lineBegins = EndsLine(piece.bytes.back());
  }
  play();
  Require(ends == 1, "a record is played to its end");
  Require(masked ? played.size() == modem.size() : played == modem, "the modem says what it said");
}

void TryDialogue(const std::vector<Piece>& pieces, bool masked) {
  const std::vector<std::string> record = Recorded(pieces, masked, false);
  Require(record == Recorded(pieces, masked, true), "it does not matter in which pieces the bytes come");
  const std::vector<std::string> plain = Recorded(pieces, false, false);
  Require(record.size() == plain.size(), "every line is kept");
  for (std::size_t i = 1; i < record.size(); ++i) {
    RecordLine line;
    RecordLine unmasked;
    Require(ParseRecordLine(record[i], &line) && ParseRecordLine(plain[i], &unmasked), "what is kept is a record");
    Require(FormatRecordLine(line) == record[i], "a kept line is the same when written again");
    Require(line.milliseconds == unmasked.milliseconds && line.fromModem == unmasked.fromModem &&
                line.bytes.size() == unmasked.bytes.size(),
            "a mask changes neither time nor side nor length");
  }
  RequirePlays(pieces, record, masked);
}

}  // namespace

/// Input: whether the record is masked, a time, then what both sides say with a zero octet where the other one begins;
/// all of it is also taken for a line of a record.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CInput input(data, size);
  const bool masked = input.Octet() & 1;
  RecordLine line;
  line.fromModem = masked;
  line.milliseconds = static_cast<DWORD>(input.Word() << 16);
  line.milliseconds |= input.Word();
  line.bytes.assign(reinterpret_cast<const char*>(input.Rest()), input.Left());
  RequireReadsBack(line);
  TryLine(line.bytes);
  TryDialogue(Conversation(line.bytes), masked);
  return 0;
}
