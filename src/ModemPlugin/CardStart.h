// The card: its state, its PIN, its numbers.
#pragma once

#include "ModemFacts.h"
#include "ModemProfiles.h"
#include "Questions.h"

namespace modem {

/// Asks for the card's state and numbers. A card that waits for its PIN gets the one of the settings, once: a PIN that
/// was tried and not accepted is never tried again on that card, also not by a later start; one whose verdict was lost
/// is tried once more when the card tells that all tries are left. What keeps the card closed is said in the trace. A
/// card that waits for its PUK is left alone.
/// @param profile  may be null.
void AskCard(CQuestions& questions, const ModemProfile* profile, ModemFacts& facts);

/// The card's state alone.
/// @return false: the modem gave no answer.
bool AskCardState(CQuestions& questions, ModemFacts& facts);

/// What "+CPIN:" tells of the card.
void ReadSimState(const std::string& state, ModemFacts& facts);

/// What a line that came by itself tells of the card.
enum class CardNews {
  kNone,   // nothing
  kState,  // facts.sim and facts.pin are set
  kChange  // something has changed; ask
};
CardNews ReadCardNotice(const std::string& line, ModemFacts& facts);

}  // namespace modem
