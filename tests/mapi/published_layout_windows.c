/* The structures of the public header beside those of the system's own headers. */
#include <qvsmapi.h>
#include <stddef.h>
#include <windows.h>

/* These need the platform's header first. */
#include <mapi.h>
#include <xcmc.h>

#define SAME_SIZE(ours, published) \
  _Static_assert(sizeof(ours) == sizeof(published), #ours " and " #published)
#define SAME_FIELD(ours, published, field)                                        \
  _Static_assert(offsetof(ours, field) == offsetof(published, field) &&           \
                     sizeof(((ours*)0)->field) == sizeof(((published*)0)->field), \
                 #ours "." #field)

SAME_SIZE(QvMapiRecipient, MapiRecipDesc);
SAME_FIELD(QvMapiRecipient, MapiRecipDesc, ulReserved);
SAME_FIELD(QvMapiRecipient, MapiRecipDesc, ulRecipClass);
SAME_FIELD(QvMapiRecipient, MapiRecipDesc, lpszName);
SAME_FIELD(QvMapiRecipient, MapiRecipDesc, lpszAddress);
SAME_FIELD(QvMapiRecipient, MapiRecipDesc, ulEIDSize);
SAME_FIELD(QvMapiRecipient, MapiRecipDesc, lpEntryID);

SAME_SIZE(QvMapiFile, MapiFileDesc);
SAME_FIELD(QvMapiFile, MapiFileDesc, flFlags);
SAME_FIELD(QvMapiFile, MapiFileDesc, nPosition);
SAME_FIELD(QvMapiFile, MapiFileDesc, lpszPathName);
SAME_FIELD(QvMapiFile, MapiFileDesc, lpszFileName);
SAME_FIELD(QvMapiFile, MapiFileDesc, lpFileType);

SAME_SIZE(QvMapiMessage, MapiMessage);
SAME_FIELD(QvMapiMessage, MapiMessage, lpszSubject);
SAME_FIELD(QvMapiMessage, MapiMessage, lpszNoteText);
SAME_FIELD(QvMapiMessage, MapiMessage, lpszMessageType);
SAME_FIELD(QvMapiMessage, MapiMessage, flFlags);
SAME_FIELD(QvMapiMessage, MapiMessage, lpOriginator);
SAME_FIELD(QvMapiMessage, MapiMessage, nRecipCount);
SAME_FIELD(QvMapiMessage, MapiMessage, lpRecips);
SAME_FIELD(QvMapiMessage, MapiMessage, nFileCount);
SAME_FIELD(QvMapiMessage, MapiMessage, lpFiles);

SAME_SIZE(QvCmcRecipient, CMC_recipient);
SAME_FIELD(QvCmcRecipient, CMC_recipient, name);
SAME_FIELD(QvCmcRecipient, CMC_recipient, name_type);
SAME_FIELD(QvCmcRecipient, CMC_recipient, address);
SAME_FIELD(QvCmcRecipient, CMC_recipient, role);
SAME_FIELD(QvCmcRecipient, CMC_recipient, recip_flags);
SAME_FIELD(QvCmcRecipient, CMC_recipient, recip_extensions);

SAME_SIZE(QvCmcAttachment, CMC_attachment);
SAME_FIELD(QvCmcAttachment, CMC_attachment, attach_title);
SAME_FIELD(QvCmcAttachment, CMC_attachment, attach_type);
SAME_FIELD(QvCmcAttachment, CMC_attachment, attach_filename);
SAME_FIELD(QvCmcAttachment, CMC_attachment, attach_flags);
SAME_FIELD(QvCmcAttachment, CMC_attachment, attach_extensions);

SAME_SIZE(QvCmcTime, CMC_time);
SAME_FIELD(QvCmcTime, CMC_time, tmzone);
SAME_FIELD(QvCmcTime, CMC_time, unused2);
SAME_SIZE(QvCmcMessage, CMC_message);
SAME_FIELD(QvCmcMessage, CMC_message, message_reference);
SAME_FIELD(QvCmcMessage, CMC_message, message_type);
SAME_FIELD(QvCmcMessage, CMC_message, subject);
SAME_FIELD(QvCmcMessage, CMC_message, time_sent);
SAME_FIELD(QvCmcMessage, CMC_message, text_note);
SAME_FIELD(QvCmcMessage, CMC_message, recipients);
SAME_FIELD(QvCmcMessage, CMC_message, attachments);
SAME_FIELD(QvCmcMessage, CMC_message, message_flags);
SAME_FIELD(QvCmcMessage, CMC_message, message_extensions);

_Static_assert(QVMAPI_NOT_SUPPORTED == MAPI_E_NOT_SUPPORTED, "26");
_Static_assert(QVCMC_NOT_SUPPORTED == CMC_E_NOT_SUPPORTED, "21");
_Static_assert(QVMAPI_TO == MAPI_TO && QVMAPI_CC == MAPI_CC && QVMAPI_BCC == MAPI_BCC, "class");
_Static_assert(QVCMC_RECIPIENT_LAST == (CMC_uint32)CMC_RECIP_LAST_ELEMENT, "last element");
