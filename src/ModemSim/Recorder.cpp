// Listens between the modem and its port.
#include "Recorder.h"

#include <utility>

namespace modem_sim {

CRecorder::CRecorder(IModemWorld& world, std::ostream& file, bool masked, std::function<DWORD()> milliseconds,
                     std::function<void()> ended)
    : m_world(world),
      m_file(file),
      m_milliseconds(std::move(milliseconds)),
      m_dwStart(m_milliseconds()),
      m_ended(std::move(ended)),
      m_recorder(masked, [this](const std::string& line) { Keep(line); }) {}

CRecorder::~CRecorder() {
  m_recorder.End(false);
  m_recorder.End(true);
}

void CRecorder::Keep(const std::string& line) {
  if (!m_file) return;
  m_file << line << std::endl;
  if (!m_file) m_ended();
}

void CRecorder::Receive(const char* bytes, std::size_t count) {
  Take(std::string(bytes, count), false);
  m_pModem->Receive(bytes, count);
}

void CRecorder::HangUp() {
  m_recorder.End(false);
  m_pModem->HangUp();
}

void CRecorder::Write(const std::string& bytes) {
  Take(bytes, true);
  m_world.Write(bytes);
}

void CRecorder::Take(const std::string& bytes, bool fromModem) {
  m_recorder.Take(bytes, fromModem, m_milliseconds() - m_dwStart);
}

}  // namespace modem_sim
