// Whether a client answers at this moment: asked after a message was not delivered, to tell a
// client that refused it from one that is not there.
#pragma once

namespace qvsend {

// Opens a conversation with the client's DDE service and ends it; nothing is sent.
bool ClientAnswers();

}  // namespace qvsend
