// Logical folders: IDs, parents, names and children, the folder-path map,
// container classes, and the NID each folder gets when it is created.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "ndb/node_registry.h"

namespace virel {

inline constexpr uint32_t kMessageStoreNid = 0x421;
inline constexpr uint32_t kRootFolderNid = 0x2442;
inline constexpr char kRootFolderName[] = "Root";

// The default mail folders, in creation order, with their fixed NIDs.
struct DefaultFolder {
  const char* name;
  uint32_t nid;
};
inline constexpr DefaultFolder kDefaultFolders[] = {
    {"Inbox", 0x202},         {"Outbox", 0x242}, {"Sent Items", 0x282},
    {"Deleted Items", 0x2C2}, {"Drafts", 0x302},
};

struct Folder {
  uint64_t id = 0;
  uint64_t parent_id = 0;
  std::string name;
  std::vector<uint64_t> children;  // creation order
};

// 64-bit FNV-1a, over the ID's little-endian bytes or a path's bytes.
struct Fnv1aIdHash {
  size_t operator()(uint64_t id) const;
};
struct Fnv1aStringHash {
  size_t operator()(const std::string& s) const;
};

class FolderRegistry {
 public:
  explicit FolderRegistry(ndb::NodeRegistry* nodes) : nodes_(nodes) {}
  // A copy whose new folders take their NIDs from `nodes`.
  FolderRegistry(const FolderRegistry& other, ndb::NodeRegistry* nodes)
      : FolderRegistry(other) {
    nodes_ = nodes;
  }

  // Throws std::invalid_argument "Root folder already exists" the second time.
  uint64_t CreateRoot(uint32_t nid);
  // A child of the root with a fixed NID.
  uint64_t AddDefaultFolder(const std::string& name, uint32_t nid);
  // Resolves a path from the root, creating missing folders; pieces are
  // split at '/' with empty ones dropped, and no pieces give the root.
  uint64_t Resolve(const std::string& path);
  // The folder a path names, or 0 when it does not exist.
  uint64_t Find(const std::string& path) const;

  static std::vector<std::string> SplitPath(const std::string& path);

  const Folder* Get(uint64_t id) const;
  uint32_t NidOf(uint64_t id) const;  // 0 for an unknown folder
  void SetContainerClass(uint64_t id, const std::string& container_class);
  // The registered class, or `fallback`.
  std::string ContainerClass(uint64_t id, const std::string& fallback) const;

  uint64_t root_id() const { return root_id_; }
  // The ID the next folder will get; every folder's is smaller.
  uint64_t next_id() const { return next_id_; }
  // Folders other than the root and the defaults, in creation order.
  const std::vector<uint64_t>& caller_folders() const { return caller_folders_; }
  // Every folder ID, ascending.
  std::vector<uint64_t> SortedIds() const;
  size_t size() const { return folders_.size(); }

 private:
  // Throws std::invalid_argument "Parent folder does not exist".
  uint64_t AddFolder(uint64_t parent_id, const std::string& name);
  uint64_t CreateChild(uint64_t parent_id, const std::string& name,
                       const std::string& path);

  ndb::NodeRegistry* nodes_;
  uint64_t next_id_ = 1;
  uint64_t root_id_ = 0;
  std::unordered_map<uint64_t, Folder, Fnv1aIdHash> folders_;
  std::unordered_map<std::string, uint64_t, Fnv1aStringHash> paths_;
  // Paths as callers spelled them, resolved before: items are filed under a
  // few paths again and again.
  std::unordered_map<std::string, uint64_t, Fnv1aStringHash> resolved_;
  std::unordered_map<uint64_t, std::string, Fnv1aIdHash> classes_;
  std::unordered_map<uint64_t, uint32_t, Fnv1aIdHash> nids_;
  std::vector<uint64_t> caller_folders_;
};

}  // namespace virel
