// The readers and writers of the engines for text that has tables of its own kind or a state: the
// East Asian code pages over their double-byte tables, and UTF-7.
//
// They keep what engine_forms.h says, and besides:
//   kNoCharacter  as the code of a character: a sequence that has a size and stands for nothing
//   Accept        takes a character that was read over into the state; until then it can be read
//                 again
//   AtEnd         bytes of the rest that belong to no character, when nothing follows the input
//   Checkpoint    a copy of a writer's state, for Restore
// A writer with a state keeps the room that its Close needs.
#pragma once

#include <cstring>
#include <type_traits>

#include "format/encodings/utf7.h"
#include "text/east_asian_forms.h"
#include "text/engine_forms.h"
#include "text/wide_tables.h"

namespace qv {

// --- Codes of a double-byte table ---

// Form: an East Asian reader, or a reference to one that has a state.
template <class Form>
class WideReader {
 public:
  static constexpr bool kSkips = std::is_reference_v<Form>;
  WideReader(const WideTable& table, Form form) : table_(table), form_(form) {}
  const WideTable& table() const { return table_; }

  ReadCharacter Read(const uint8_t* in, const uint8_t* end) const {
    ReadCharacter read = form_.Read(in, end);
    if (std::is_same_v<Form, DoubleByteReader> && read.size == 1 && table_.is_lead(*in)) {
      return ReadTablePair(in, end);
    }
    if (!kSkips || read.code != kNoCharacter) read.code = table_.ValueOf(read.code);
    return read;
  }

 private:
  // A byte that is a lead byte by the table only, or has no trail byte.
  ReadCharacter ReadTablePair(const uint8_t* in, const uint8_t* end) const {
    if (end - in < 2) return {0, 0};
    const uint32_t code = table_.ValueOf(LoadUnit<2, true>(in));
    const bool pair = in[1] >= WideTable::kLeastTrail && code != kReplacement;
    return pair ? ReadCharacter{code, 2} : ReadCharacter{kReplacement, 1};
  }

  const WideTable& table_;
  Form form_;
};

template <class Form>
class WideWriter {
 public:
  WideWriter(const WideTable& table, Form form) : table_(table), form_(form) {}
  const WideTable& table() const { return table_; }

  int Write(uint32_t code, uint8_t* out, size_t room) const {
    return form_.Write(table_.ValueOf(code), out, room);
  }
  std::remove_reference_t<Form> Checkpoint() const { return form_; }
  void Restore(const std::remove_reference_t<Form>& state) const {
    if constexpr (std::is_reference_v<Form>) form_ = state;
  }

 private:
  const WideTable& table_;
  Form form_;
};

// --- UTF-7 ---

class Utf7Reader {
 public:
  static constexpr bool kSkips = true;
  explicit Utf7Reader(UTF7DecodeState& state) : state_(state), next_(state) {}

  ReadCharacter Read(const uint8_t* in, const uint8_t* end) {
    next_ = state_;
    const uint8_t* at = in;
    bool complete = false;
    const uint32_t code = ZRUTF7DecodeNext(&at, end, &complete, 0, &next_);
    return {complete ? code : kNoCharacter, static_cast<uint32_t>(at - in)};
  }
  void Accept() { state_ = next_; }
  // The digit that is left of the last character may end the text.
  uint32_t AtEnd(const uint8_t* in, const uint8_t* end) const {
    return state_.in_run != 0 && BitsPending() && end - in == 1 ? 1 : 0;
  }

 private:
  bool BitsPending() const { return state_.phase == 4 || state_.phase == 2; }

  UTF7DecodeState& state_;
  UTF7DecodeState next_;
};

// Holds back the digit that the next character may complete: what is written is final.
struct Utf7WriterState {
  UTF7EncodeState encoder;
  uint8_t partial = 0;
};

class Utf7Writer {
 public:
  explicit Utf7Writer(Utf7WriterState& state) : state_(state) {}

  int Write(uint32_t code, uint8_t* out, size_t room) const {
    return Step(out, room, [code](uint8_t** at, uint8_t* end, UTF7EncodeState* state) {
      bool complete = false;
      ZRUTF7EncodeChar(code, at, end, &complete, state);
    });
  }
  int Close(uint8_t* out, size_t room) const {
    return Step(out, room, [](uint8_t** at, uint8_t* end, UTF7EncodeState* state) {
      bool complete = false;
      UTF7CloseRun(at, end, &complete, state);
    });
  }
  Utf7WriterState Checkpoint() const { return state_; }
  void Restore(const Utf7WriterState& state) const { state_ = state; }

 private:
  template <class Encode>
  int Step(uint8_t* out, size_t room, Encode encode) const {
    uint8_t bytes[kUTF7MostBytes + 1] = {state_.partial};
    uint8_t* at = bytes;
    UTF7EncodeState next = state_.encoder;
    encode(&at, bytes + sizeof bytes, &next);
    const auto size = static_cast<size_t>(at - bytes);
    if (size + CloseBytes(next) > room) return kNoRoom;
    std::memcpy(out, bytes, size);
    next.position = nullptr;  // the bytes do not stay
    state_ = {next, *at};
    return static_cast<int>(size);
  }
  static size_t CloseBytes(const UTF7EncodeState& state) {
    return (state.mode != 0 ? 1u : 0u) + (state.phase != 0 ? 1u : 0u);
  }

  Utf7WriterState& state_;
};

}  // namespace qv
