#include "mime_addresses.h"

#include <string>

#include "text_charset.h"

namespace vimport {
namespace {

// GMime bounds group nesting while parsing; this guards the recursion too.
constexpr int kMaxGroupDepth = 16;

void Flatten(InternetAddressList* list, int depth, std::vector<Address>* out) {
  if (list == nullptr || depth > kMaxGroupDepth) return;
  const int count = internet_address_list_length(list);
  for (int i = 0; i < count; ++i) {
    InternetAddress* address = internet_address_list_get_address(list, i);
    if (INTERNET_ADDRESS_IS_GROUP(address)) {
      Flatten(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)),
              depth + 1, out);
    } else if (INTERNET_ADDRESS_IS_MAILBOX(address)) {
      Address entry;
      entry.name = ValidUtf8(internet_address_get_name(address));
      entry.address = ValidUtf8(
          internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)));
      out->push_back(std::move(entry));
    }
  }
}

}  // namespace

std::vector<Address> FlattenAddresses(InternetAddressList* list) {
  std::vector<Address> out;
  Flatten(list, 0, &out);
  return out;
}

}  // namespace vimport
