// Commands and values.
#include "AtCommand.h"

#include <cctype>
#include <charconv>

namespace modem_sim {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
char Upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

/// Upper case and no blanks, but inside quotation marks as it was.
std::string Normalised(const std::string& text) {
  std::string out;
  bool quoted = false;
  for (const char c : text) {
    if (c == '"') quoted = !quoted;
    if (quoted) {
      out += c;
    } else if (c != ' ') {
      out += Upper(c);
    }
  }
  return out;
}

std::size_t EndOfExtended(const std::string& body, std::size_t position) {
  bool quoted = false;
  for (; position < body.size(); ++position) {
    if (body[position] == '"') quoted = !quoted;
    if (body[position] == ';' && !quoted) break;
  }
  return position;
}

void TakeExtended(const std::string& body, std::size_t* position, AtCommand* out) {
  const std::size_t end = EndOfExtended(body, *position);
  const std::string text = Normalised(body.substr(*position, end - *position));
  *position = end;
  const std::size_t sign = text.find_first_of("=?");
  out->name = text.substr(0, sign);
  if (sign == std::string::npos) {
    out->form = AtCommand::Form::Execute;
  } else if (text.compare(sign, std::string::npos, "?") == 0) {
    out->form = AtCommand::Form::Read;
  } else if (text.compare(sign, std::string::npos, "=?") == 0) {
    out->form = AtCommand::Form::Test;
  } else {
    out->form = AtCommand::Form::Set;
    out->values = text[sign] == '=' ? text.substr(sign + 1) : text.substr(sign);
  }
}

std::string TakeDigits(const std::string& body, std::size_t* position) {
  const std::size_t start = *position;
  while (*position < body.size() && IsDigit(body[*position])) ++*position;
  return body.substr(start, *position - start);
}

/// S3?, S3=13
void TakeRegister(const std::string& body, std::size_t* position, AtCommand* out) {
  out->name += TakeDigits(body, position);
  if (*position < body.size() && body[*position] == '?') {
    out->form = AtCommand::Form::Read;
    ++*position;
  } else if (*position < body.size() && body[*position] == '=') {
    ++*position;
    out->values = TakeDigits(body, position);
  }
}

bool TakeBasic(const std::string& body, std::size_t* position, AtCommand* out) {
  if (body[*position] == '&') {
    out->name = "&";
    ++*position;
  }
  if (*position == body.size() || !IsLetter(body[*position])) return false;
  out->name += Upper(body[(*position)++]);
  if (out->name == "S") {
    TakeRegister(body, position, out);
  } else if (out->name == "D") {
    out->values = body.substr(*position);
    *position = body.size();
  } else {
    out->values = TakeDigits(body, position);
  }
  return true;
}

}  // namespace

bool NextCommand(const std::string& body, std::size_t* position, AtCommand* out) {
  *out = AtCommand();
  while (*position < body.size() && (body[*position] == ' ' || body[*position] == ';')) ++*position;
  if (*position == body.size()) return false;
  const char first = body[*position];
  if (first == '&' || IsLetter(first)) return TakeBasic(body, position, out);
  if (IsDigit(first) || first == '=' || first == '?' || first == '"' || first == ',') return false;
  TakeExtended(body, position, out);  // '+', and the signs that makers put in front of their own
  return true;
}

CValues::CValues(const std::string& values, std::size_t most) {
  std::string raw;
  bool quoted = false;
  for (const char c : values) {
    if (c == '"') quoted = !quoted;
    if (c == ',' && !quoted) {
      Add(raw);
      raw.clear();
    } else {
      raw += c;
    }
  }
  if (quoted) m_bValid = false;
  if (!values.empty()) Add(raw);
  if (m_lstValues.size() > most) m_bValid = false;
}

void CValues::Add(const std::string& raw) {
  Value value;
  value.quoted = !raw.empty() && raw.front() == '"';
  value.text = value.quoted ? raw.substr(1, raw.size() - 2) : raw;
  const bool closed = !value.quoted || (raw.size() >= 2 && raw.back() == '"');
  if (!closed || value.text.find('"') != std::string::npos) m_bValid = false;
  m_lstValues.push_back(value);
}

bool CValues::Given(std::size_t place) const {
  return place < m_lstValues.size() && (m_lstValues[place].quoted || !m_lstValues[place].text.empty());
}

bool CValues::Number(std::size_t place, int lowest, int highest, int* out) const {
  if (!Given(place)) return true;
  const Value& value = m_lstValues[place];
  const char* const end = value.text.data() + value.text.size();
  int number = 0;
  const auto [stop, error] = std::from_chars(value.text.data(), end, number);
  if (value.quoted || error != std::errc() || stop != end || number < lowest || number > highest) return false;
  *out = number;
  return true;
}

bool CValues::Text(std::size_t place, std::string* out) const {
  if (!Given(place)) return true;
  if (!m_lstValues[place].quoted) return false;
  *out = m_lstValues[place].text;
  return true;
}

}  // namespace modem_sim
