// A kept AT dialogue: one line of text for every line of it, so that a person can read it and a program can play it
// again.
#pragma once

#include "VelkTypes.h"

#include <functional>
#include <string>

namespace sms_pdu {

/// What one side wrote, up to a line end: `1.250 > AT+CSQ<0D>` (to the modem), `1.251 < +CSQ: 20,99<0D><0A>`.
struct RecordLine {
  DWORD milliseconds = 0;  // since the start
  bool fromModem = false;
  std::string bytes;
};

/// Octets that are no printable ASCII, and '<', are written as <XX>. Without an end of line.
std::string FormatRecordLine(const RecordLine& line);
/// @return false: no such line; *out is unchanged.
bool ParseRecordLine(const std::string& text, RecordLine* out);

/// Takes numbers and texts out of a dialogue; lengths stay as they are. One object a dialogue, one thread.
/// Digits become 0, letters x. Masked are: short messages (the PDU stays one of the same length, with its header and
/// its times), message texts, quoted strings that hold a number or a name, PINs, and long bare numbers (IMEI, IMSI).
class CDialogueMask {
public:
  /// @param bytes  one line of one side, in the order of the dialogue.
  std::string Masked(const std::string& bytes, bool fromModem);

private:
  std::string MaskedModemLine(const std::string& line, const std::string& end);
  std::string MaskedComputerLine(const std::string& line, const std::string& end);

  enum class Next { Line, Text, Page };
  Next m_next = Next::Line;  // what the modem's next line is
  bool m_bPrompt = false;    // the computer writes a message
};

/// First line of a record.
const char kMaskedTitle[] = "# AT dialogue, numbers and texts masked";
const char kUnmaskedTitle[] = "# AT dialogue, unmasked";

/// A longer line is taken apart.
const std::size_t kRecordLineLimit = 64 * 1024;

/// Makes a record of what both sides write. One object a dialogue, one thread at a time.
class CDialogueRecorder {
public:
  /// @param keep  is given each line of the record when it has ended, the title first.
  CDialogueRecorder(bool masked, std::function<void(const std::string& line)> keep);

  /// @param milliseconds  since the start.
  void Take(const std::string& bytes, bool fromModem, DWORD milliseconds);
  /// This side writes no more: keeps what has not ended.
  void End(bool fromModem);

private:
  RecordLine& Side(bool fromModem) { return fromModem ? m_device : m_computer; }

  const bool m_masked;
  const std::function<void(const std::string& line)> m_keep;
  CDialogueMask m_mask;
  RecordLine m_computer;  // not ended yet; an echo mixes the two sides
  RecordLine m_device;
};

}  // namespace sms_pdu
