// The text of a private-profile file, line by line. Lines that are not understood stay as they are.
//
// Bytes are in the system's code page. Names match without regard to letter case, blanks around
// names and values do not count, the first of several equal names is the one that counts.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

class ProfileText {
 public:
  explicit ProfileText(std::string_view text);

  std::vector<std::string> Sections() const;
  std::vector<std::string> Keys(std::string_view section) const;
  // Without the quotes that may enclose it.
  std::optional<std::string> Value(std::string_view section, std::string_view key) const;

  void SetValue(std::string_view section, std::string_view key, std::string_view value);
  void RemoveKey(std::string_view section, std::string_view key);
  void RemoveSection(std::string_view section);

  // With the line ends of the system.
  std::string Format() const;

 private:
  // Lines [first, last) of a section's body; the heading stands before it.
  struct Range {
    size_t first, last;
  };
  std::optional<Range> FindSection(std::string_view section) const;
  std::optional<size_t> FindKey(Range range, std::string_view key) const;

  std::string mark_;  // the UTF-8 byte-order mark, where the file begins with one
  std::vector<std::string> lines_;
};

}  // namespace host
