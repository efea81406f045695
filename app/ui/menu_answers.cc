#include "app/ui/menu_answers.h"

#include "resources/string_resources.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

constexpr MenuAnswers kDefaults = {
    .menu = []() -> Menu* { return nullptr; },
    .command_enabled = [](int32_t) { return true; },
    .command_title =
        [](uint8_t* title, int32_t command) {
          return ZRGetMessageText(title, kMostLStr, command, 0, false);
        },
    .multiple_document_client = [](const Menu&) -> HWND { return nullptr; },
};

}  // namespace

MenuAnswers& ApplicationMenuAnswers() {
  static constinit MenuAnswers answers = kDefaults;
  return answers;
}

void ResetMenuAnswersForTest() { ApplicationMenuAnswers() = kDefaults; }

}  // namespace qv
