// Folder names of the mailboxes: how a mail folder found on disk is named
// in the output file.
#pragma once

#include <string>

namespace vimport {

// The default folder ("Inbox", "Sent Items"...) a mail folder of this name
// stands for, or the name itself with an mbox extension removed.
std::string MailFolderName(const std::string& name);

// "A/B" joined with "C" as "A/B/C"; either side may be empty.
std::string JoinFolder(const std::string& parent, const std::string& child);

}  // namespace vimport
