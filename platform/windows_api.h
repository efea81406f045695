// The one header through which the rest of the code sees the platform.
//
// The code is written against the Windows calls, by their names and with their types. On Windows
// these are the system's own. Elsewhere host/ supplies the same names, type widths, constants,
// error numbers and results for exactly the calls that are made, no more.
//
// This folder is the only one where a test for the platform may stand.
#pragma once

#ifdef _WIN32

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// These need windows.h first.
#include <ddeml.h>
#include <shellapi.h>
#include <shlobj.h>
#include <winnetwk.h>

#else

#include "platform/host/calendar_times.h"
#include "platform/host/codepages.h"
#include "platform/host/dde.h"
#include "platform/host/drives.h"
#include "platform/host/error_texts.h"
#include "platform/host/exceptions.h"
#include "platform/host/fibers.h"
#include "platform/host/file_times.h"
#include "platform/host/files.h"
#include "platform/host/find_files.h"
#include "platform/host/fonts.h"
#include "platform/host/locale.h"
#include "platform/host/menus.h"
#include "platform/host/messages.h"
#include "platform/host/modules.h"
#include "platform/host/process.h"
#include "platform/host/process_memory.h"
#include "platform/host/profile.h"
#include "platform/host/registry.h"
#include "platform/host/synchronization.h"
#include "platform/host/system_info.h"
#include "platform/host/thread_storage.h"
#include "platform/host/threads.h"
#include "platform/host/types.h"
#include "platform/host/windows.h"

#endif
