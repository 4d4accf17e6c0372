// Address lists of a parsed message, with groups flattened to mailboxes.
#pragma once

#include <gmime/gmime.h>

#include <vector>

#include "items.h"

namespace vimport {

// Every mailbox in `list`, members of groups in place of the group.
std::vector<Address> FlattenAddresses(InternetAddressList* list);

}  // namespace vimport
