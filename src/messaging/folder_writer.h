// Writes folder nodes at close: each folder's property context and its
// hierarchy and contents tables as subnodes 0x0D and 0x0E.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "messaging/folder_registry.h"
#include "messaging/records.h"
#include "ndb/data_writer.h"
#include "ndb/node_registry.h"

namespace virel {

inline constexpr uint32_t kHierarchyTableSubnode = 0x0D;
inline constexpr uint32_t kContentsTableSubnode = 0x0E;

// What a folder's contents table took, for forecasts that grow it.
struct ContentsTableSize {
  size_t heap_bytes = 0;
  size_t allocations = 0;
};

class FolderWriter {
 public:
  // With `contents_size`, the size of the last contents table is kept there.
  FolderWriter(const FolderRegistry& folders, const ContentsRegistry& contents,
               ndb::DataWriter* writer, ndb::NodeRegistry* nodes,
               ContentsTableSize* contents_size = nullptr)
      : folders_(folders), contents_(contents), writer_(writer), nodes_(nodes),
        contents_size_(contents_size) {}

  void WriteRootFolder();
  // A default folder: fixed properties, an entry ID for some of them.
  void createProperFolderData(const std::string& name, ndb::Node node);
  // A folder made by the caller or by path resolution.
  void createUserFolderData(const std::string& name, uint64_t folder_id,
                            ndb::Node node);
  // Tables of the folder as subnodes; sets the node's subnode BID.
  void createFolderSubnodes(uint64_t folder_id, ndb::Node* node);

 private:
  uint32_t ContentCount(uint64_t folder_id) const;
  uint64_t WriteHierarchyTable(const Folder& folder);
  uint64_t WriteContentsTable(const std::vector<ContentRecord>& records);
  void Finish(uint64_t folder_id, uint64_t bid_data, ndb::Node node);

  const FolderRegistry& folders_;
  const ContentsRegistry& contents_;
  ndb::DataWriter* writer_;
  ndb::NodeRegistry* nodes_;
  ContentsTableSize* contents_size_;
};

// The order close writes folders in: the root, the default folders, then
// the caller's folders in creation order.
std::vector<uint64_t> FolderWriteOrder(const FolderRegistry& folders);
// One folder's node: its property context and its tables; with
// `contents_size`, what its contents table took.
void WriteFolder(const FolderRegistry& folders, const ContentsRegistry& contents,
                 uint64_t id, ndb::DataWriter* writer, ndb::NodeRegistry* nodes,
                 ContentsTableSize* contents_size = nullptr);
// Every folder node close writes, in that order.
void WriteAllFolders(const FolderRegistry& folders,
                     const ContentsRegistry& contents, ndb::DataWriter* writer,
                     ndb::NodeRegistry* nodes);

// The message class an item kind is listed under.
const char* MessageClassOf(uint32_t kind);

}  // namespace virel
