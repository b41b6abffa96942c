// Plays the modem's side of a kept dialogue and looks whether the computer's side is the same.
#pragma once

#include "DialogueRecord.h"
#include "SimulatedModem.h"

#include <deque>
#include <functional>
#include <istream>
#include <string>

namespace modem_sim {

/// Commands of the computer may come in another order than in the record, as those of several threads do.
/// Threads: the modem's one thread.
class CReplay : public IPortUser {
public:
  /// @param onEnd  called once: empty at the end of the record, else where the computer's side differs.
  /// @param world  must outlive this.
  CReplay(IModemWorld& world, std::function<void(const std::string& difference)> onEnd)
      : m_world(world), m_onEnd(std::move(onEnd)) {}

  /// @return false: *error names the line that is none of a record.
  bool Load(std::istream& file, std::string* error);
  /// Writes what the modem says by itself.
  void Start() { GoOn(0); }

  void Receive(const char* bytes, std::size_t count) override;
  /// A half line is forgotten; the record goes on when the computer comes back.
  void HangUp() override { m_strLine.clear(); }

private:
  struct Step {
    int number;  // line of the file
    sms_pdu::RecordLine line;
  };

  void GoOn(DWORD now);
  void Compare();
  bool BringForward(const std::string& heard);
  std::string Shown(const std::string& bytes) const;

  IModemWorld& m_world;
  const std::function<void(const std::string&)> m_onEnd;
  std::deque<Step> m_lstSteps;
  std::deque<std::string> m_lstHeard;  // lines of the computer that are not compared yet
  std::string m_strLine;
  bool m_bMasked = false;
  bool m_bWriting = false;  // a line of the modem is due later
  bool m_bEnded = false;
  sms_pdu::CDialogueMask m_mask;
};

}  // namespace modem_sim
