/* QVSMAPI for host applications: the Simple MAPI and CMC 1.0 entry points of the library.
 *
 * The structures have the layout of the published definitions; the names carry a prefix, so that
 * this header can stand beside the system's own mapi.h and xcmc.h. Load the library at run time and
 * look the entry points up by their published names ("MAPISendMail", "cmc_send").
 *
 * Text is in the system's ANSI code page. One send at a time in a process.
 * This header stands alone: a host needs nothing else of the project. */
#ifndef QVSMAPI_H
#define QVSMAPI_H

#include <stdint.h>

#ifdef _WIN32
#define QVSMAPI_CALL __stdcall
#else
#define QVSMAPI_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* --- Simple MAPI --- */

typedef uint32_t QvMapiSession; /* 1000 after a logon */

enum {
  QVMAPI_SUCCESS = 0,
  QVMAPI_NOT_SUPPORTED = 26,
  QVMAPI_TO = 1, /* ulRecipClass */
  QVMAPI_CC = 2,
  QVMAPI_BCC = 3
};
#define QVMAPI_GENERIC_FAILURE 0x80004005u

typedef struct QvMapiRecipient {
  uint32_t ulReserved;
  uint32_t ulRecipClass;
  char* lpszName; /* not used */
  char* lpszAddress;
  uint32_t ulEIDSize;
  void* lpEntryID;
} QvMapiRecipient;

typedef struct QvMapiFile {
  uint32_t ulReserved;
  uint32_t flFlags;
  uint32_t nPosition;
  char* lpszPathName; /* the file to send; every "?" in it becomes "_" in place */
  char* lpszFileName; /* the name that the copy carries, or null; "?" likewise */
  void* lpFileType;
} QvMapiFile;

typedef struct QvMapiMessage {
  uint32_t ulReserved;
  char* lpszSubject;
  char* lpszNoteText;
  char* lpszMessageType;
  char* lpszDateReceived;
  char* lpszConversationID;
  uint32_t flFlags;
  QvMapiRecipient* lpOriginator;
  uint32_t nRecipCount;
  QvMapiRecipient* lpRecips;
  uint32_t nFileCount;
  QvMapiFile* lpFiles;
} QvMapiMessage;

/* 0, and the session at *session. */
typedef uint32_t(QVSMAPI_CALL* QvMapiLogon)(uintptr_t window, char* profile, char* password,
                                            uint32_t flags, uint32_t reserved,
                                            QvMapiSession* session);
typedef uint32_t(QVSMAPI_CALL* QvMapiLogoff)(QvMapiSession session, uintptr_t window,
                                             uint32_t flags, uint32_t reserved);
/* 0 when the client has the message, else QVMAPI_GENERIC_FAILURE (also without an attachment). */
typedef uint32_t(QVSMAPI_CALL* QvMapiSendMail)(QvMapiSession session, uintptr_t window,
                                               QvMapiMessage* message, uint32_t flags,
                                               uint32_t reserved);

/* --- Common Messaging Calls 1.0 --- */

typedef uint32_t QvCmcSession; /* 1000 after a logon */

enum { QVCMC_SUCCESS = 0, QVCMC_NOT_SUPPORTED = 21 };
#define QVCMC_RECIPIENT_LAST 0x80000000u
#define QVCMC_ATTACHMENT_LAST 0x80000000u

typedef struct QvCmcTime {
  int8_t second, minute, hour, day, month, year, isdst, unused1;
  int16_t tmzone, unused2;
} QvCmcTime;

typedef struct QvCmcRecipient {
  char* name; /* not used */
  int32_t name_type;
  char* address;
  int32_t role; /* 0 To, 1 Cc, 2 Bcc */
  uint32_t recip_flags;
  void* recip_extensions;
} QvCmcRecipient;

typedef struct QvCmcAttachment {
  char* attach_title; /* the name that the copy carries, or null */
  char* attach_type;
  char* attach_filename; /* the file to send */
  uint32_t attach_flags;
  void* attach_extensions;
} QvCmcAttachment;

typedef struct QvCmcMessage {
  void* message_reference;
  char* message_type;
  char* subject;
  QvCmcTime time_sent;
  char* text_note;
  QvCmcRecipient* recipients;
  QvCmcAttachment* attachments; /* only the first is sent */
  uint32_t message_flags;
  void* message_extensions;
} QvCmcMessage;

typedef uint32_t(QVSMAPI_CALL* QvCmcLogon)(char* service, char* user, char* password,
                                           char* character_set, uintptr_t ui_id,
                                           uint16_t caller_version, uint32_t flags,
                                           QvCmcSession* session, void* extensions);
typedef uint32_t(QVSMAPI_CALL* QvCmcLogoff)(QvCmcSession session, uintptr_t ui_id, uint32_t flags,
                                            void* extensions);
/* 0 when the client has the message, else 21. */
typedef uint32_t(QVSMAPI_CALL* QvCmcSend)(QvCmcSession session, QvCmcMessage* message,
                                          uint32_t flags, uintptr_t ui_id, void* extensions);

/* --- Default mail client --- */

/* 1 when the registry entries were written, else 0; exported as _SetQVAsDefaultMailClient@4 on
 * Windows, undecorated elsewhere. MakeDefault is cdecl everywhere. */
typedef uint8_t(QVSMAPI_CALL* QvSetAsDefaultMailClient)(const char* dll_path);
typedef void (*QvMakeDefault)(void);

#ifdef __cplusplus
}
#endif

#endif
