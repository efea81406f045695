// What went wrong while the resources were made, and where: "FILE:LINE: reason".
//
// Only the first problem counts; every function that may fail takes one and returns false with it
// set.
#pragma once

#include <string>

namespace qvresource {

struct Place {
  std::string file;
  int line = 0;  // from 1; 0 stands for the whole file
};

class Problem {
 public:
  // Keeps the first text; always false, so that a caller can return it.
  bool Set(const Place& place, const std::string& reason) {
    if (text_.empty()) {
      text_ = place.file + (place.line > 0 ? ":" + std::to_string(place.line) : "") + ": " + reason;
    }
    return false;
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace qvresource
