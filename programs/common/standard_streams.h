// Standard input and output as byte streams whose failures are told in words.
//
//   StandardInput input;
//   StandardOutput output;
//   while (size_t size = input.Read(buffer, sizeof buffer)) output.Write({buffer, size});
//   output.Flush();
//   if (auto trouble = FirstOf(input.trouble(), output.trouble())) ...
//
// After the first failure a stream does nothing more. Threads: one.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace program {

// What stops a program, as one line; nothing when it may go on.
using Trouble = std::optional<std::string>;

class StandardInput {
 public:
  // Fills the buffer unless the input ends; 0 at the end and after a failure.
  size_t Read(char* buffer, size_t size);
  const Trouble& trouble() const { return trouble_; }

 private:
  Trouble trouble_;
};

class StandardOutput {
 public:
  // False after a failure.
  bool Write(std::string_view bytes);
  // What was written has left the program; a full disk often shows only here.
  bool Flush();
  const Trouble& trouble() const { return trouble_; }

 private:
  bool Failed();
  Trouble trouble_;
};

inline const Trouble& FirstOf(const Trouble& a, const Trouble& b) { return a ? a : b; }

}  // namespace program
