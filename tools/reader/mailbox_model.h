// Plain records of what a mailbox holds: folders, items, recipients, attachments.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vread {

struct Recipient {
  std::uint32_t rowId = 0;
  std::uint32_t type = 0;  // 1 To, 2 Cc, 3 Bcc
  std::string name;
  std::string address;
};

struct Attachment {
  std::uint32_t subnodeNid = 0;
  std::uint32_t number = 0;
  std::uint32_t method = 0;
  std::string name;
  std::uint64_t size = 0;     // as the attachment records it
  std::uint64_t dataBid = 0;  // the data tree holding the bytes
};

struct Item {
  std::uint32_t nid = 0;
  std::uint32_t folder = 0;
  std::string messageClass;
  std::string subject;
  std::string senderName;
  std::string senderAddress;
  std::string body;
  std::vector<std::uint8_t> bodyHtml;  // stored as binary, in no declared charset
  bool isEvent = false;
  std::vector<Recipient> recipients;
  std::vector<Attachment> attachments;
  std::optional<std::uint64_t> start;  // FILETIME
  std::optional<std::uint64_t> end;    // FILETIME
  std::optional<std::string> location;
  std::optional<std::uint32_t> busyStatus;
  // The message time, kept only in the writer's bookkeeping row of the item.
  std::optional<std::uint64_t> time;  // FILETIME
};

struct Folder {
  std::uint32_t nid = 0;
  std::uint32_t parent = 0;
  int depth = 0;  // 0 for the root folder
  std::string name;
  std::string containerClass;
  std::optional<std::uint32_t> contentCount;
  std::vector<std::uint32_t> children;  // folder NIDs, hierarchy-table order
  std::vector<Item> items;              // contents-table order
};

}  // namespace vread
