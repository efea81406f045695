// What menus ask the application, which sets the functions once at its start:
//
//   qv::MenuAnswers& answers = qv::ApplicationMenuAnswers();
//   answers.menu = [] { return &bar; };
//   answers.command_enabled = [](int32_t command) { return command != kPaste || HasClipboard(); };
//
// Until then there is no menu, every command is enabled and has the title of its message text, and
// no window holds multiple documents. None of them is ever null. Threads: that of the user
// interface.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"

namespace qv {

class Menu;

struct MenuAnswers {
  // The application's menu bar, which LoadMenusAndAccelerators fills; null when it has none.
  Menu* (*menu)();
  // The state of a command.
  bool (*command_enabled)(int32_t command);
  // The title of a command, into a Str255, with "&" before the letter that is underlined. False
  // when it has none.
  bool (*command_title)(uint8_t* title, int32_t command);
  // The multiple-document client window whose frame shows this bar; null when there is none.
  HWND (*multiple_document_client)(const Menu& menu);
};

MenuAnswers& ApplicationMenuAnswers();

void ResetMenuAnswersForTest();

}  // namespace qv
