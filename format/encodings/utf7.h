// UTF-7 (RFC 2152), one character at a time.
//
//   UTF7DecodeState state;
//   bool complete;
//   while (in != end) {
//     uint32_t code = ZRUTF7DecodeNext(&in, end, &complete, 0, &state);
//     if (!complete) break;  // the rest is the beginning of a character, or nothing
//     ...
//   }
//
// Text is a mixture of direct characters and of runs: '+', UTF-16 in Base64 digits, an optional
// '-'. A digit whose bits belong to two units of UTF-16 is "partial"; between two calls the
// position then stands at that digit, which is read (or completed) once more.
//
// Threads: any; nothing is kept outside the caller's state. A state begins zeroed.
#pragma once

#include <cstdint>

struct UTF7DecodeState {
  uint32_t in_run = 0;  // not zero inside a '+' run
  uintptr_t caller_value = 0;
  const uint8_t* start = nullptr;  // where the character that was read last begins
  // 8: just behind the '+'; 4, 2 or 0: bits of the digit at the position that are not read yet are
  // 2, 4 or none (the digit is then consumed).
  uint32_t phase = 0;
};

struct UTF7EncodeState {
  uint32_t mode = 0;            // 0: direct; 3: inside a run
  uint8_t* position = nullptr;  // the output position after the last complete output
  uint32_t phase = 0;           // 0, 4 or 2: bits of the digit at the position that are used
};

// Reads the next character and moves *in behind it. `caller_value` and the place where the
// character begins are stored in the state.
//
// *complete becomes false, and the result 0, when the input ends inside the character: the digits
// of an unfinished character (of both halves of a surrogate pair) are then not consumed; a '+' that
// opens a run and a '-' that closes one are. Call again with the same state and the unread bytes
// with more behind them. No text makes the call fail otherwise: a run that breaks off inside a unit
// ends at the offending byte, its bits dropped (a '-' there closes it as ever); a surrogate without
// its partner is read as 26 if it is a high one, as itself if it is a low one.
uint32_t ZRUTF7DecodeNext(const uint8_t** in, const uint8_t* in_end, bool* complete,
                          uintptr_t caller_value, UTF7DecodeState* state);

// Writes one character at *out and moves *out behind it, or to its last digit where that is
// partial: the byte at *out is then written, belongs to the text and has to stand there at the next
// call. A code above 10FFFF is written as 26.
//
// *complete becomes false when the character, with the '+' or '-' before it, does not fit: nothing
// is then written and *out and the state stay. A run is left open at the end of the text; see
// UTF7CloseRun.
void ZRUTF7EncodeChar(uint32_t code, uint8_t** out, uint8_t* out_end, bool* complete,
                      UTF7EncodeState* state);

namespace qv {

// Ends an open run with its partial digit and '-', so that any text may follow. Does nothing
// outside a run. *complete as above.
void UTF7CloseRun(uint8_t** out, uint8_t* out_end, bool* complete, UTF7EncodeState* state);

// The most bytes that one call writes, the partial digit that it completes among them: '+' and a
// surrogate pair.
constexpr uint32_t kUTF7MostBytes = 7;

}  // namespace qv
