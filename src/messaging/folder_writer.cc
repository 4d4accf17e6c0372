#include "messaging/folder_writer.h"

#include <algorithm>
#include <cstring>

#include "ltp/node_data.h"
#include "ltp/table_context.h"
#include "ltp/utf8.h"
#include "messaging/entry_id.h"
#include "messaging/property_tags.h"
#include "ndb/subnode_list.h"

namespace virel {
namespace {

constexpr char kDefaultContainerClass[] = "IPF.Note";
constexpr uint32_t kGenericFolderType = 1;

// Default folders whose display-name slot carries their own entry ID.
bool HasEntryIdProperty(const std::string& name) {
  return name == "Inbox" || name == "Sent Items" || name == "Drafts";
}

// The registered node, or a fresh one under `parent`.
ndb::Node NodeOf(const ndb::NodeRegistry& nodes, uint32_t nid, uint32_t parent) {
  return nodes.FindNode(nid).value_or(ndb::Node{nid, 0, 0, parent});
}

}  // namespace

std::vector<uint64_t> FolderWriteOrder(const FolderRegistry& folders) {
  std::vector<uint64_t> order{folders.root_id()};
  for (const DefaultFolder& f : kDefaultFolders) order.push_back(folders.Find(f.name));
  order.insert(order.end(), folders.caller_folders().begin(),
               folders.caller_folders().end());
  return order;
}

void WriteFolder(const FolderRegistry& folders, const ContentsRegistry& contents,
                 uint64_t id, ndb::DataWriter* writer, ndb::NodeRegistry* nodes,
                 ContentsTableSize* contents_size) {
  FolderWriter folder_writer(folders, contents, writer, nodes, contents_size);
  if (id == folders.root_id()) {
    folder_writer.WriteRootFolder();
    return;
  }
  const Folder* f = folders.Get(id);
  const uint32_t nid = folders.NidOf(id);
  const ndb::Node node = NodeOf(*nodes, nid, folders.NidOf(f->parent_id));
  for (const DefaultFolder& d : kDefaultFolders) {
    if (d.nid == nid) {
      folder_writer.createProperFolderData(f->name, node);
      return;
    }
  }
  folder_writer.createUserFolderData(f->name, id, node);
}

void WriteAllFolders(const FolderRegistry& folders,
                     const ContentsRegistry& contents, ndb::DataWriter* writer,
                     ndb::NodeRegistry* nodes) {
  for (uint64_t id : FolderWriteOrder(folders)) {
    WriteFolder(folders, contents, id, writer, nodes);
  }
}

const char* MessageClassOf(uint32_t kind) {
  switch (kind) {
    case kContentMessage: return "IPM.Note";
    case kContentEvent: return "IPM.Appointment";
    case kContentTask: return "IPM.Task";
    case kContentActivity: return "IPM.Activity";
    default: return "";
  }
}

uint32_t FolderWriter::ContentCount(uint64_t folder_id) const {
  auto it = contents_.find(folder_id);
  return it == contents_.end() ? 0 : static_cast<uint32_t>(it->second.size());
}

void FolderWriter::WriteRootFolder() {
  ltp::PropertyBag bag;
  bag.SetString(tag::kDisplayName, kRootFolderName);
  bag.SetString(tag::kContainerClass, kDefaultContainerClass);
  bag.SetInt32(tag::kContentCount, 0);
  bag.SetInt32(tag::kContentUnreadCount, 0);
  bag.SetInt32(tag::kSubfolders, 1);
  bag.SetInt32(tag::kFolderType, kGenericFolderType);
  const ndb::Node node = nodes_->FindNode(kRootFolderNid).value_or(
      ndb::Node{kRootFolderNid, 0, 0, kMessageStoreNid});
  Finish(folders_.root_id(), ltp::WritePropertyContext(bag, writer_).bid, node);
}

void FolderWriter::createProperFolderData(const std::string& name,
                                          ndb::Node node) {
  const uint64_t id = folders_.Find(name);
  ltp::PropertyBag bag;
  bag.SetString(tag::kDisplayName, name);
  bag.SetString(tag::kContainerClass,
                folders_.ContainerClass(id, kDefaultContainerClass));
  if (HasEntryIdProperty(name)) {
    bag.SetBytes(tag::kDisplayName8,
                 FolderEntryId(static_cast<uint32_t>(node.nid)));
  }
  bag.SetInt32(tag::kContentCount, ContentCount(id));
  bag.SetInt32(tag::kContentUnreadCount, 0);
  bag.SetInt32(tag::kSubfolders, 0);
  bag.SetInt32(tag::kFolderType, kGenericFolderType);
  bag.SetInt32(tag::kAttributeHidden, 0);
  Finish(id, ltp::WritePropertyContext(bag, writer_).bid, node);
}

void FolderWriter::createUserFolderData(const std::string& name,
                                        uint64_t folder_id, ndb::Node node) {
  const Folder* folder = folders_.Get(folder_id);
  ltp::PropertyBag bag;
  bag.SetString(tag::kDisplayName, name);
  bag.SetString(tag::kContainerClass,
                folders_.ContainerClass(folder_id, kDefaultContainerClass));
  bag.SetInt32(tag::kContentCount, ContentCount(folder_id));
  bag.SetInt32(tag::kContentUnreadCount, 0);
  bag.SetInt32(tag::kSubfolders,
               folder != nullptr && !folder->children.empty() ? 1 : 0);
  bag.SetInt32(tag::kFolderType, kGenericFolderType);
  Finish(folder_id, ltp::WritePropertyContext(bag, writer_).bid, node);
}

void FolderWriter::Finish(uint64_t folder_id, uint64_t bid_data,
                          ndb::Node node) {
  node.bid_data = bid_data;
  createFolderSubnodes(folder_id, &node);
  nodes_->PutNode(node);
}

void FolderWriter::createFolderSubnodes(uint64_t folder_id, ndb::Node* node) {
  ndb::SubnodeListBuilder subnodes;
  const Folder* folder = folders_.Get(folder_id);
  if (folder != nullptr && !folder->children.empty()) {
    subnodes.Add(kHierarchyTableSubnode, WriteHierarchyTable(*folder));
  }
  auto contents = contents_.find(folder_id);
  if (contents != contents_.end() && !contents->second.empty()) {
    subnodes.Add(kContentsTableSubnode, WriteContentsTable(contents->second));
  }
  node->bid_sub = subnodes.empty() ? 0 : writer_->WriteData(subnodes.Finish(), true);
}

uint64_t FolderWriter::WriteHierarchyTable(const Folder& folder) {
  // Rows ascend by child NID so the row index agrees with the matrix.
  std::vector<std::pair<uint32_t, const Folder*>> children;
  for (uint64_t child_id : folder.children) {
    const Folder* child = folders_.Get(child_id);
    if (child != nullptr) children.emplace_back(folders_.NidOf(child_id), child);
  }
  std::stable_sort(children.begin(), children.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  ltp::Heap heap;
  std::vector<ltp::TableRow> rows;
  for (const auto& child : children) {
    rows.push_back({child.first,
                    {{tag::kDisplayName, ltp::StringCell(&heap, child.second->name)}}});
  }
  return ltp::WriteTableContext({tag::kDisplayName}, rows, &heap, writer_).bid;
}

uint64_t FolderWriter::WriteContentsTable(
    const std::vector<ContentRecord>& records) {
  ltp::Heap heap;
  std::vector<ltp::TableRow> rows;
  rows.reserve(records.size());
  // Runs of one kind share one conversion of its class.
  uint32_t converted_kind = 0;
  Bytes message_class;
  for (const ContentRecord& r : records) {
    if (rows.empty() || r.kind != converted_kind) {
      message_class = ltp::Utf8ToUtf16(MessageClassOf(r.kind));
      converted_kind = r.kind;
    }
    ltp::TableRow row{static_cast<uint32_t>(r.nid), {}};
    row.cells.emplace_back(tag::kMessageClass, Fixed32Bytes(heap.Allocate(message_class)));
    rows.push_back(std::move(row));
  }
  ltp::BuildTableContext({tag::kMessageClass}, rows, &heap);
  if (contents_size_ != nullptr) {
    *contents_size_ = {heap.SerializedSize(), heap.allocation_count()};
  }
  return ltp::WriteHeap(heap, writer_).bid;
}

}  // namespace virel
