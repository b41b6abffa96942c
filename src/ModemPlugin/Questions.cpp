#include "Questions.h"

#include <algorithm>

namespace modem {

namespace {

const unsigned int kPauseMs = 1000;

/// "SIM busy", and what modems say while their message service begins: 515 and 517 of many makers.
bool IsBusy(const AtReply& reply) {
  const bool coded = reply.final == AtReply::Final::kCmeError || reply.final == AtReply::Final::kCmsError;
  const bool busy = reply.code == (reply.final == AtReply::Final::kCmeError ? 14 : 314);
  return coded && (busy || reply.code == 515 || reply.code == 517);
}

}  // namespace

AtReply CQuestions::Ask(const CAtCommand& command, const char* prefix, unsigned int limitMs) {
  return m_dialogue.Execute(command, prefix, limitMs);
}

AtReply CQuestions::Ask(const char* command, const char* prefix, unsigned int limitMs) {
  return Ask(CAtCommand(command), prefix, limitMs);
}

AtReply CQuestions::AskPatiently(const char* command, const char* prefix, unsigned int limitMs) {
  AtReply reply = Ask(command, prefix, limitMs);
  while (IsBusy(reply) && m_iPatience > 0 && m_dialogue.Pause(kPauseMs)) {
    --m_iPatience;
    reply = Ask(command, prefix, limitMs);
  }
  return reply;
}

std::string FirstLine(const AtReply& reply) {
  return reply.IsOk() && !reply.lines.empty() ? reply.lines[0] : std::string();
}

std::string BareText(const AtReply& reply) {
  const std::string line = FirstLine(reply);
  const std::size_t colon = IsTagged(line) ? line.find(':') : std::string::npos;
  std::string text = colon == std::string::npos ? line : line.substr(colon + 1);
  text.erase(std::remove(text.begin(), text.end(), '"'), text.end());
  return Cleaned(text);
}

std::string Parameter(const AtReply& reply, std::size_t index) {
  const std::vector<std::string> parameters = ParametersOf(FirstLine(reply));
  return index < parameters.size() ? parameters[index] : std::string();
}

}  // namespace modem
