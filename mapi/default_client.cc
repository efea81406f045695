#include "mapi/default_client.h"

#include <span>

#include "mapi/registry_path.h"
#include "text/formatter.h"

namespace qv {
namespace {

constexpr const char* kClientName = "Quorvantis";

enum class Action { kOpen, kCreate, kSetText };

struct RegistryStep {
  Action action;
  const char* name;  // of the key, or of the value (null: the unnamed one)
  const char* text;  // of the value
  int depth;         // reported when a later step fails: what this one brought the walk to
};

// Below HKEY_CURRENT_USER\SOFTWARE.
constexpr RegistryStep kAssociationSteps[] = {
    {Action::kOpen, "Microsoft", nullptr, 1},         {Action::kOpen, "Windows", nullptr, 2},
    {Action::kCreate, "Shell", nullptr, 3},           {Action::kCreate, "Associations", nullptr, 4},
    {Action::kCreate, "UrlAssociations", nullptr, 5}, {Action::kCreate, "MAILTO", nullptr, 6},
    {Action::kCreate, "UserChoice", nullptr, 6},      {Action::kSetText, "Progid", "QVC", 7},
    {Action::kCreate, "Progid", nullptr, 7},          {Action::kSetText, nullptr, "mailto", 7},
};

struct DefaultClientState {
  // Text of the box being shown; one call at a time, as with all of this library's surface.
  char box_text[kFormatLimit + 1] = {};
};

DefaultClientState& State() {
  static constinit DefaultClientState state;
  return state;
}

void ShowAlarm(const char* text) { MessageBoxA(nullptr, text, "Alarm", MB_OK); }

LSTATUS RunStep(RegistryPath& path, const RegistryStep& step) {
  switch (step.action) {
    case Action::kOpen:
      return path.Open(step.name);
    case Action::kCreate:
      return path.Create(step.name);
    case Action::kSetText:
      return path.SetText(step.name, step.text);
  }
  return ERROR_INVALID_PARAMETER;
}

// Runs the steps up to the first that fails; *depth is that of the last one that succeeded.
LSTATUS RunSteps(RegistryPath& path, std::span<const RegistryStep> steps, int* depth) {
  *depth = 0;
  for (const RegistryStep& step : steps) {
    if (const LSTATUS status = RunStep(path, step); status != ERROR_SUCCESS) return status;
    *depth = step.depth;
  }
  return ERROR_SUCCESS;
}

// Both keys are the system's: they are never created here. "Mail" is closed before a failure is
// shown, "Clients" after it.
LSTATUS RegisterMailClient(HKEY software) {
  RegistryPath clients(software);
  LSTATUS status = clients.Open("Clients");
  if (status == ERROR_SUCCESS) {
    RegistryPath mail(clients.Key());
    status = mail.Open("Mail");
    if (status == ERROR_SUCCESS) status = mail.SetText(nullptr, kClientName);
  }
  if (status != ERROR_SUCCESS) {
    FormatText(State().box_text, "An error occured SOFTWARE\\Clients\\Mail: %d",
               static_cast<int>(status));
    ShowAlarm(State().box_text);
  }
  return status;
}

LSTATUS RegisterAssociation(HKEY software) {
  LSTATUS status;
  int depth;
  {
    RegistryPath path(software);
    status = RunSteps(path, kAssociationSteps, &depth);
  }
  if (status != ERROR_SUCCESS) {
    FormatText(State().box_text, "An error occured Microsoft\\...\\Progid: %d, depth: %d",
               static_cast<int>(status), depth);
    ShowAlarm(State().box_text);
  }
  return status;
}

void RegisterDefaultClient() {
  RegistryPath path(HKEY_CURRENT_USER);
  LSTATUS status = path.Open("SOFTWARE");
  if (status == ERROR_SUCCESS) status = RegisterMailClient(path.Key());
  if (status == ERROR_SUCCESS) status = RegisterAssociation(path.Key());
  if (status == ERROR_ACCESS_DENIED) {
    ShowAlarm("You must run this program as administrator to set as default");
  } else if (status != ERROR_SUCCESS) {
    ShowAlarm("An error occured while making default!");
  }
}

bool RegisterLibrary(const char* dll_path) {
  const RegistryStep steps[] = {
      {Action::kOpen, "SOFTWARE", nullptr, 0},    {Action::kOpen, "Clients", nullptr, 0},
      {Action::kOpen, "Mail", nullptr, 0},        {Action::kSetText, nullptr, kClientName, 0},
      {Action::kCreate, kClientName, nullptr, 0}, {Action::kSetText, nullptr, kClientName, 0},
      {Action::kSetText, "DllPath", dll_path, 0},
  };
  RegistryPath path(HKEY_CURRENT_USER);
  int depth;
  return RunSteps(path, steps, &depth) == ERROR_SUCCESS;
}

}  // namespace
}  // namespace qv

extern "C" {

void __cdecl MakeDefault(void) { qv::RegisterDefaultClient(); }

void __stdcall MakeDefaultAsRunDll(HWND, HINSTANCE, LPSTR, int) { qv::RegisterDefaultClient(); }

uint8_t __stdcall SetQVAsDefaultMailClient(const char* dll_path) {
  return dll_path && qv::RegisterLibrary(dll_path) ? 1 : 0;
}
}
