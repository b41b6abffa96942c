// How a starting modem is asked: one question after the other, with patience for a busy card.
#pragma once

#include "AtDialogue.h"

namespace modem {

class CQuestions {
public:
  explicit CQuestions(CAtDialogue& dialogue) : m_dialogue(dialogue) {}

  static const unsigned int kLimitMs = 5000;
  static const unsigned int kSlowLimitMs = 20000;

  AtReply Ask(const CAtCommand& command, const char* prefix, unsigned int limitMs = kLimitMs);
  AtReply Ask(const char* command, const char* prefix, unsigned int limitMs = kLimitMs);
  /// Asks again once a second while the card, or the modem's message service, is busy; all questions together that way
  /// for some twenty seconds.
  AtReply AskPatiently(const char* command, const char* prefix, unsigned int limitMs = kLimitMs);

  CAtDialogue& Dialogue() { return m_dialogue; }

private:
  CAtDialogue& m_dialogue;
  int m_iPatience = 20;
};

/// The first line of a reply that ended well, else empty.
std::string FirstLine(const AtReply& reply);
/// The same without a name before it ("+CGMM: ") and quotation marks.
std::string BareText(const AtReply& reply);
/// One of its parameters, else empty.
std::string Parameter(const AtReply& reply, std::size_t index);

}  // namespace modem
