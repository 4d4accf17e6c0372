// A small but complete mailbox image: store, name map, root, the default
// folders, a Calendar folder, one message with recipients and an attachment,
// and one appointment.
#pragma once

#include <cstdint>
#include <string>

#include "image_builder.h"
#include "mailbox.h"

namespace testimg {

constexpr std::uint32_t kCalendar = 0x22;
constexpr std::uint32_t kMessage = 0x24;
constexpr std::uint32_t kEvent = 0x44;
constexpr std::size_t kAttachmentSize = 10000;  // spans two data blocks
constexpr std::uint64_t kStartFiletime = 133444736000000000ull;
constexpr std::uint64_t kEndFiletime = kStartFiletime + 36000000000ull;

struct SampleOptions {
  bool reverseContents = false;  // Inbox contents rows out of NID order
  std::uint32_t recordMessages = 1;
  std::size_t strayBytes = 0;  // zero bytes no block holds, after the message
  bool staleRecord = false;    // an unlisted record block before the real one
  bool stalePages = false;     // listed NBT pages that the node B-tree does not use
  // The attachment's name: the PC's 8-bit value and the table's cell, each
  // UTF-16LE ("a.txt" with and without a terminator when empty).
  Bytes attachmentName8;
  Bytes attachmentCell;
  bool emptyAttachment = false;  // its data is a BBT entry of size 0 at offset 0
  Bytes bodyHtml;                // the message's HTML body, when not empty
  bool busyStatus = false;       // the event carries kBusyStatus
  bool rowGroup = false;         // a bookkeeping row group with the message's time
};

constexpr std::uint32_t kBusyStatus = 3;
constexpr std::uint64_t kMessageFiletime = 133444736000000000ull + 10000000ull;
const char* const kSenderAddress = "alice@example.com";

struct Sample {
  Bytes image;
  std::uint64_t inboxDataIb = 0;  // the Inbox PC block
  std::uint64_t nbtIb = 0;
  std::uint64_t recordIb = 0;
  std::uint64_t strayIb = 0;        // where the stray bytes start
  std::uint64_t staleRecordIb = 0;  // where the stale record block starts
  std::uint64_t stalePageIb = 0;    // where the first stale page starts
};

Sample buildSample(const SampleOptions& options = {});
// A bookkeeping row group: "LTPC", the key, then each row (item NID, cells).
Bytes rowGroupBytes(std::uint64_t key, const std::vector<TableRow>& rows);
Bytes attachmentBytes();

// A violation at exactly `offset` whose text contains `fragment`.
bool hasViolation(const vread::Mailbox& m, std::uint64_t offset, const std::string& fragment);
// A warning at exactly `offset` whose text contains `fragment`.
bool hasWarning(const vread::Mailbox& m, std::uint64_t offset, const std::string& fragment);
// Every violation and warning, one per line, for failure messages.
std::string describe(const vread::Mailbox& m);

}  // namespace testimg
