// Keeps the dialogue of a modem in a file, between the modem and its port.
#pragma once

#include "DialogueRecord.h"
#include "SimulatedModem.h"

#include <functional>
#include <ostream>
#include <string>

namespace modem_sim {

/// Every line is in the file when it has ended, so a killed program loses at most the last one.
/// Threads: the modem's one thread.
class CRecorder : public IPortUser, public IModemWorld {
public:
  /// @param milliseconds  since some moment, never less than before.
  /// @param file, world   must outlive this.
  /// @param ended         called once when the file takes no more, errno says why; the modem goes on.
  CRecorder(IModemWorld& world, std::ostream& file, bool masked, std::function<DWORD()> milliseconds,
            std::function<void()> ended);
  /// Writes what has not ended.
  ~CRecorder();

  /// @param modem  must outlive the running of the port.
  void Start(IPortUser& modem) { m_pModem = &modem; }

  void Receive(const char* bytes, std::size_t count) override;
  void HangUp() override;

  void Write(const std::string& bytes) override;
  void After(int milliseconds, std::function<void()> call) override { m_world.After(milliseconds, std::move(call)); }
  sms_pdu::TimeStamp Now() override { return m_world.Now(); }
  void Unplug() override { m_world.Unplug(); }
  bool Plug(std::string* error) override { return m_world.Plug(error); }

private:
  void Take(const std::string& bytes, bool fromModem);
  void Keep(const std::string& line);

  IModemWorld& m_world;
  std::ostream& m_file;
  const std::function<DWORD()> m_milliseconds;
  const DWORD m_dwStart;
  const std::function<void()> m_ended;
  IPortUser* m_pModem = nullptr;
  sms_pdu::CDialogueRecorder m_recorder;
};

}  // namespace modem_sim
