// Progress of long work: one line on standard error that is rewritten, only when that is a
// terminal.
//
//   Progress progress("storing report.pdf", total_bytes);
//   progress.Advance(chunk);           // the line vanishes with the object
#pragma once

#include <cstdint>
#include <string>

namespace program {

class Progress {
 public:
  // `total` 0: only the label is shown.
  Progress(std::string label, uint64_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Advance(uint64_t amount);

 private:
  void Show() const;

  std::string label_;
  uint64_t total_;
  uint64_t done_ = 0;
  int percent_ = 0;
  bool shown_;
};

// The same for bytes of which nobody knows how many there will be: shows how many are done, from
// the first million on.
class ByteProgress {
 public:
  explicit ByteProgress(std::string label);
  ~ByteProgress();
  ByteProgress(const ByteProgress&) = delete;
  ByteProgress& operator=(const ByteProgress&) = delete;

  void Advance(uint64_t bytes);

 private:
  std::string label_;
  uint64_t done_ = 0;
  uint64_t shown_ = 0;  // millions
  bool can_show_;
};

}  // namespace program
