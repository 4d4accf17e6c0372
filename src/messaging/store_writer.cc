#include "messaging/store_writer.h"

#include "ltp/node_data.h"
#include "messaging/entry_id.h"
#include "messaging/folder_registry.h"
#include "messaging/property_tags.h"

namespace virel {
namespace {

constexpr char kStoreDisplayName[] = "Personal Folders";
constexpr uint32_t kStoreSupportMaskValue = 0x00040003;
constexpr uint32_t kValidFolderMaskValue = 0x1F;
constexpr size_t kUnnamed0C00Size = 16;
constexpr uint32_t kDeletedItemsNid = 0x2C2;
constexpr uint32_t kInboxNid = 0x202;
constexpr uint32_t kOutboxNid = 0x242;
constexpr uint32_t kSentItemsNid = 0x282;
constexpr uint32_t kCommonViewsNid = 0x122;

}  // namespace

void RegisterFixedNodes(ndb::NodeRegistry* nodes) {
  nodes->PutNode({kMessageStoreNid, 0, 0, 0});
  nodes->PutNode({kRootFolderNid, 0, 0, kMessageStoreNid});
}

void WriteMessageStore(ndb::DataWriter* writer, ndb::NodeRegistry* nodes) {
  ltp::PropertyBag bag;
  bag.SetString(tag::kDisplayName, kStoreDisplayName);
  bag.SetInt32(tag::kStoreSupportMask, kStoreSupportMaskValue);
  bag.SetInt32(tag::kStoreState, 0);
  bag.SetBytes(tag::kIpmSubtreeEntryId, FolderEntryId(kRootFolderNid));
  bag.SetBytes(tag::kWastebasketEntryId, FolderEntryId(kDeletedItemsNid));
  bag.SetInt32(tag::kValidFolderMask, kValidFolderMaskValue);
  bag.SetBytes(tag::kStoreUnnamed0C00, Bytes(kUnnamed0C00Size, 0));
  bag.SetBytes(tag::kInboxEntryId, FolderEntryId(kInboxNid));
  bag.SetBytes(tag::kOutboxEntryId, FolderEntryId(kOutboxNid));
  // Written twice on purpose: the second value, Sent Items, is the one kept.
  bag.SetBytes(tag::kWastebasketEntryId, FolderEntryId(kSentItemsNid));
  bag.SetBytes(tag::kCommonViewsEntryId, FolderEntryId(kCommonViewsNid));

  ndb::Node node = nodes->FindNode(kMessageStoreNid).value_or(
      ndb::Node{kMessageStoreNid, 0, 0, 0});
  node.bid_data = ltp::WritePropertyContext(bag, writer).bid;
  nodes->PutNode(node);
}

}  // namespace virel
