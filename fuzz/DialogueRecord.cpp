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
const int kLongEnoughMs = 1 << 30;

bool Equal(const RecordLine& a, const RecordLine& b) {
  return a.milliseconds == b.milliseconds && a.fromModem == b.fromModem && a.bytes == b.bytes;
}

void RequireReadsBack(const RecordLine& line) {
  const std::string text = FormatRecordLine(line);
  Require(std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; }), "a record is printable");
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
    if (!pieces.back().fromModem) open = c != '\r' && c != '\x1A' && c != '\x1B';
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

std::string SaidBy(bool fromModem, const std::vector<Piece>& pieces) {
  std::string bytes;
  for (const Piece& piece : pieces) bytes += piece.fromModem == fromModem ? piece.bytes : "";
  return bytes;
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
  const std::string computer = SaidBy(false, pieces);
  replay.Start();
  replay.Receive(computer.data(), computer.size());
  world.Advance(kLongEnoughMs);
  Require(ends == 1, "a record is played to its end");
  const std::string modem = SaidBy(true, pieces);
  const std::string played = world.TakeOutput();
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
