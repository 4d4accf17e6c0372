// Turning decoded mail and events into the writer's records.
#pragma once

#include "items.h"
#include "messaging/records.h"

namespace vimport {

// Texts are moved out of `item`; attachment bytes are copied.
virel::MessageRecord ToMessageRecord(MailItem item);
virel::EventRecord ToEventRecord(const EventItem& item);

// Moves the HTML body, or else the plain body, into an attachment
// (body.html / body.txt) so the message's own texts shrink. False when
// neither body is left to move.
bool MoveBodyToAttachment(virel::MessageRecord* m);

}  // namespace vimport
