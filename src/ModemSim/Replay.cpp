// One step of the record after another.
#include "Replay.h"

#include "Recorder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

namespace modem_sim {
namespace {

const std::size_t kExcerpt = 60;
const int kReach = 10;  // commands

}  // namespace

bool CReplay::Load(std::istream& file, std::string* error) {
  int number = 0;
  for (std::string text; std::getline(file, text);) {
    ++number;
    if (number == 1) m_bMasked = text == sms_pdu::kMaskedTitle;
    if (text.empty() || text[0] == '#') continue;
    Step step{number, {}};
    if (!sms_pdu::ParseRecordLine(text, &step.line)) {
      *error = "line " + std::to_string(number) + " is none of a record: " + Shown(text.substr(0, kExcerpt));
      return false;
    }
    m_lstSteps.push_back(step);
  }
  if (file.bad()) {
    *error = std::strerror(errno);
  } else if (m_lstSteps.empty()) {
    *error = "there is nothing in it";
  }
  return !file.bad() && !m_lstSteps.empty();
}

void CReplay::Receive(const char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count && !m_bEnded; ++i) {
    m_strLine += bytes[i];
    const bool ends = bytes[i] == '\r' || bytes[i] == '\x1A' || bytes[i] == '\x1B';
    if (!ends && m_strLine.size() < sms_pdu::kRecordLineLimit) continue;
    m_lstHeard.push_back(m_strLine);
    m_strLine.clear();
  }
  if (!m_bWriting) Compare();
}

/// The computer's lines that are there, as long as it is its turn.
void CReplay::Compare() {
  while (!m_bEnded && !m_lstHeard.empty() && !m_lstSteps.empty() && !m_lstSteps.front().line.fromModem) {
    const std::string heard = m_bMasked ? m_mask.Masked(m_lstHeard.front(), false) : m_lstHeard.front();
    m_lstHeard.pop_front();
    const bool expected = heard == m_lstSteps.front().line.bytes || BringForward(heard);
    const Step step = m_lstSteps.front();
    m_lstSteps.pop_front();
    if (!expected) {
      m_bEnded = true;
      m_onEnd("line " + std::to_string(step.number) + ": the computer wrote " + Shown(heard) + ", the record has " +
              Shown(step.line.bytes));
      return;
    }
    GoOn(step.line.milliseconds);
    if (m_bWriting) return;
  }
}

/// Puts one of the next commands of the record, with what the modem said to it, to the front.
bool CReplay::BringForward(const std::string& heard) {
  const auto isCommand = [](const Step& step) { return !step.line.fromModem; };
  auto command = m_lstSteps.begin();
  for (int i = 0; i < kReach && command != m_lstSteps.end(); ++i) {
    command = std::find_if(std::next(command), m_lstSteps.end(), isCommand);
    if (command == m_lstSteps.end() || command->line.bytes != heard) continue;
    std::rotate(m_lstSteps.begin(), command, std::find_if(std::next(command), m_lstSteps.end(), isCommand));
    return true;
  }
  return false;
}

/// The modem's next line, when it was due in the record.
void CReplay::GoOn(DWORD now) {
  m_bWriting = false;
  if (m_bEnded) return;
  if (m_lstSteps.empty()) {
    m_bEnded = true;
    m_onEnd("");
    return;
  }
  const sms_pdu::RecordLine line = m_lstSteps.front().line;
  if (!line.fromModem) return;
  m_lstSteps.pop_front();
  m_bWriting = true;
  const DWORD wait = line.milliseconds > now ? line.milliseconds - now : 0;
  m_world.After(static_cast<int>(wait), [this, line] {
    m_mask.Masked(line.bytes, true);  // what the next lines mean
    m_world.Write(line.bytes);
    GoOn(line.milliseconds);
    if (!m_bWriting) Compare();
  });
}

std::string CReplay::Shown(const std::string& bytes) const {
  const std::string text = sms_pdu::FormatRecordLine({0, false, bytes});
  return '"' + text.substr(text.find('>') + 2) + '"';
}

}  // namespace modem_sim
