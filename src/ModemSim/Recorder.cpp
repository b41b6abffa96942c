// Lines of both sides.
#include "Recorder.h"

#include <utility>

namespace modem_sim {
namespace {

const char kPrompt[] = "> ";  // has no end of its own

/// The computer ends lines with a carriage return and messages with Ctrl-Z or escape, the modem with a line feed.
bool Ends(char c, bool fromModem) { return fromModem ? c == '\n' : c == '\r' || c == '\x1A' || c == '\x1B'; }

}  // namespace

CRecorder::CRecorder(IModemWorld& world, std::ostream& file, bool masked, std::function<DWORD()> milliseconds)
    : m_world(world),
      m_file(file),
      m_bMasked(masked),
      m_milliseconds(std::move(milliseconds)),
      m_dwStart(m_milliseconds()) {
  m_device.fromModem = true;
  m_file << (masked ? kMaskedTitle : kUnmaskedTitle) << std::endl;
}

CRecorder::~CRecorder() {
  Flush(&m_computer);
  Flush(&m_device);
}

void CRecorder::Receive(const char* bytes, std::size_t count) {
  Take(std::string(bytes, count), false);
  m_pModem->Receive(bytes, count);
}

void CRecorder::HangUp() {
  Flush(&m_computer);
  m_pModem->HangUp();
}

void CRecorder::Write(const std::string& bytes) {
  Take(bytes, true);
  m_world.Write(bytes);
}

void CRecorder::Take(const std::string& bytes, bool fromModem) {
  sms_pdu::RecordLine& line = fromModem ? m_device : m_computer;
  for (const char c : bytes) {
    if (!fromModem && line.bytes.empty() && m_device.bytes == kPrompt) Flush(&m_device);
    if (line.bytes.empty()) line.milliseconds = m_milliseconds() - m_dwStart;
    line.bytes += c;
    if (Ends(c, fromModem)) Flush(&line);
  }
}

void CRecorder::Flush(sms_pdu::RecordLine* line) {
  if (line->bytes.empty()) return;
  sms_pdu::RecordLine written = *line;
  line->bytes.clear();
  if (m_bMasked) written.bytes = m_mask.Masked(written.bytes, written.fromModem);
  m_file << sms_pdu::FormatRecordLine(written) << std::endl;
}

}  // namespace modem_sim
