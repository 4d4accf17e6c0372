#include "messaging/folder_registry.h"

#include <algorithm>
#include <stdexcept>

namespace virel {
namespace {

constexpr uint64_t kFnvOffsetBasis = 0xCBF29CE484222325ull;
constexpr uint64_t kFnvPrime = 0x100000001B3ull;
constexpr size_t kChildReserveOnCreate = 50;
constexpr size_t kChildReserveOnFirst = 100;
constexpr char kPathSeparator = '/';

uint64_t Fnv1a(const uint8_t* p, size_t n) {
  uint64_t h = kFnvOffsetBasis;
  for (size_t i = 0; i < n; ++i) h = (h ^ p[i]) * kFnvPrime;
  return h;
}

}  // namespace

size_t Fnv1aIdHash::operator()(uint64_t id) const {
  uint8_t bytes[8];
  EncodeFixed64(bytes, id);
  return static_cast<size_t>(Fnv1a(bytes, sizeof(bytes)));
}

size_t Fnv1aStringHash::operator()(const std::string& s) const {
  return static_cast<size_t>(
      Fnv1a(reinterpret_cast<const uint8_t*>(s.data()), s.size()));
}

uint64_t FolderRegistry::CreateRoot(uint32_t nid) {
  if (root_id_ != 0) throw std::invalid_argument("Root folder already exists");
  const uint64_t id = next_id_++;
  Folder root;
  root.id = id;
  root.name = kRootFolderName;
  root.children.reserve(kChildReserveOnCreate);
  folders_.emplace(id, std::move(root));
  paths_[kRootFolderName] = id;
  nids_[id] = nid;
  root_id_ = id;
  return id;
}

uint64_t FolderRegistry::AddFolder(uint64_t parent_id, const std::string& name) {
  auto parent = folders_.find(parent_id);
  if (parent == folders_.end()) {
    throw std::invalid_argument("Parent folder does not exist");
  }
  std::vector<uint64_t>& siblings = parent->second.children;
  if (siblings.empty() && siblings.capacity() < kChildReserveOnFirst) {
    siblings.reserve(kChildReserveOnFirst);
  }
  Folder folder;
  folder.id = next_id_;
  folder.parent_id = parent_id;
  folder.name = name;
  folder.children.reserve(kChildReserveOnCreate);
  folders_.emplace(folder.id, std::move(folder));
  siblings.push_back(next_id_);
  return next_id_++;
}

uint64_t FolderRegistry::AddDefaultFolder(const std::string& name,
                                          uint32_t nid) {
  const uint64_t id = AddFolder(root_id_, name);
  paths_[std::string(kRootFolderName) + kPathSeparator + name] = id;
  nids_[id] = nid;
  nodes_->PutNode({nid, 0, 0, NidOf(root_id_)});
  return id;
}

uint64_t FolderRegistry::CreateChild(uint64_t parent_id,
                                     const std::string& name,
                                     const std::string& path) {
  const uint64_t id = AddFolder(parent_id, name);
  paths_[path] = id;
  nids_[id] = static_cast<uint32_t>(
      nodes_->NewNode(ndb::kNidTypeNormalFolder, NidOf(parent_id)).nid);
  caller_folders_.push_back(id);
  return id;
}

std::vector<std::string> FolderRegistry::SplitPath(const std::string& path) {
  std::vector<std::string> pieces;
  size_t start = 0;
  while (start <= path.size()) {
    size_t cut = path.find(kPathSeparator, start);
    if (cut == std::string::npos) cut = path.size();
    if (cut > start) pieces.push_back(path.substr(start, cut - start));
    start = cut + 1;
  }
  return pieces;
}

uint64_t FolderRegistry::Resolve(const std::string& path) {
  auto seen = resolved_.find(path);
  if (seen != resolved_.end()) return seen->second;
  uint64_t current = root_id_;
  std::string key = kRootFolderName;
  for (const std::string& piece : SplitPath(path)) {
    key += kPathSeparator;
    key += piece;
    auto it = paths_.find(key);
    current = it != paths_.end() ? it->second : CreateChild(current, piece, key);
  }
  resolved_.emplace(path, current);
  return current;
}

uint64_t FolderRegistry::Find(const std::string& path) const {
  std::string key = kRootFolderName;
  for (const std::string& piece : SplitPath(path)) key += kPathSeparator + piece;
  auto it = paths_.find(key);
  return it == paths_.end() ? 0 : it->second;
}

const Folder* FolderRegistry::Get(uint64_t id) const {
  auto it = folders_.find(id);
  return it == folders_.end() ? nullptr : &it->second;
}

uint32_t FolderRegistry::NidOf(uint64_t id) const {
  auto it = nids_.find(id);
  return it == nids_.end() ? 0 : it->second;
}

void FolderRegistry::SetContainerClass(uint64_t id,
                                       const std::string& container_class) {
  classes_[id] = container_class;
}

std::string FolderRegistry::ContainerClass(uint64_t id,
                                           const std::string& fallback) const {
  auto it = classes_.find(id);
  return it == classes_.end() ? fallback : it->second;
}

std::vector<uint64_t> FolderRegistry::SortedIds() const {
  std::vector<uint64_t> ids;
  ids.reserve(folders_.size());
  for (const auto& kv : folders_) ids.push_back(kv.first);
  std::sort(ids.begin(), ids.end());
  return ids;
}

}  // namespace virel
