// Lines of both sides of a dialogue.
#include "DialogueRecord.h"

#include <utility>

namespace sms_pdu {
namespace {

const char kPrompt[] = "> ";  // has no end of its own

/// The computer ends lines with a carriage return and messages with Ctrl-Z or escape, the modem with a line feed.
bool Ends(char c, bool fromModem) { return fromModem ? c == '\n' : c == '\r' || c == '\x1A' || c == '\x1B'; }

}  // namespace

CDialogueRecorder::CDialogueRecorder(bool masked, std::function<void(const std::string& line)> keep)
    : m_masked(masked), m_keep(std::move(keep)) {
  m_device.fromModem = true;
  m_keep(masked ? kMaskedTitle : kUnmaskedTitle);
}

void CDialogueRecorder::Take(const std::string& bytes, bool fromModem, DWORD milliseconds) {
  RecordLine& line = Side(fromModem);
  for (const char c : bytes) {
    if (!fromModem && line.bytes.empty() && m_device.bytes == kPrompt) End(true);
    if (line.bytes.empty()) line.milliseconds = milliseconds;
    line.bytes += c;
    if (Ends(c, fromModem) || line.bytes.size() == kRecordLineLimit) End(fromModem);
  }
}

void CDialogueRecorder::End(bool fromModem) {
  RecordLine ended = Side(fromModem);
  if (ended.bytes.empty()) return;
  Side(fromModem).bytes.clear();
  if (m_masked) ended.bytes = m_mask.Masked(ended.bytes, fromModem);
  m_keep(FormatRecordLine(ended));
}

}  // namespace sms_pdu
