// Takes a command line apart into commands and their values (ITU-T V.250, 5.3 and 5.4).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace modem_sim {

struct AtCommand {
  enum class Form { Execute, Read, Test, Set };

  std::string name;       // upper case: "E", "&F", "S3", "+CMGS"
  Form form = Form::Set;  // a basic command with its number is Set
  std::string values;     // behind the equals sign, or the number of a basic command
};

/// Takes the next command of a body; blanks outside quotation marks do not count.
/// @param position  in: 0 first; out: behind the command.
/// @return false: the end, or (position before the end) something that is no command.
bool NextCommand(const std::string& body, std::size_t* position, AtCommand* out);

/// The values of an extended command: numbers, quoted strings, or nothing between two commas.
class CValues {
public:
  /// @param most  how many values the command has.
  explicit CValues(const std::string& values, std::size_t most);

  /// False: too many, unbalanced quotation marks, or text around them.
  bool Valid() const { return m_bValid; }
  std::size_t Count() const { return m_lstValues.size(); }
  /// False as well when there are fewer values.
  bool Given(std::size_t place) const;

  /// @param out  keeps its value when nothing is given there.
  /// @return false: not a number from lowest to highest.
  bool Number(std::size_t place, int lowest, int highest, int* out) const;
  /// @return false: no quoted string. What is not given leaves out as it is.
  bool Text(std::size_t place, std::string* out) const;

private:
  struct Value {
    bool quoted = false;
    std::string text;
  };

  void Add(const std::string& raw);

  std::vector<Value> m_lstValues;
  bool m_bValid = true;
};

}  // namespace modem_sim
