// Reads the folder tree from the root folder down, with each folder's items,
// and checks the hierarchy and contents tables against the NBT.
#pragma once

#include <map>
#include <set>
#include <vector>

#include "item_reader.h"

namespace vread {

class FolderReader {
 public:
  FolderReader(const Database& db, const NodeAccess& access, const NameMap& names, ViolationLog& log);

  // Folders in depth-first order, the root folder first.
  std::vector<Folder> read();

 private:
  void readFolder(std::uint32_t nid, std::uint32_t parent, int depth);
  std::vector<std::uint32_t> readHierarchy(std::uint32_t nid);
  std::vector<Item> readContents(std::uint32_t nid);
  bool checkRow(const Row& row, std::uint32_t folder, std::uint32_t type, std::uint32_t& lastId);
  void checkUnlisted(std::uint32_t folder, const std::vector<std::uint32_t>& listed, std::uint32_t type);
  void checkUnreached();

  const Database& db_;
  const NodeAccess& access_;
  ViolationLog& log_;
  ItemReader items_;
  ViolationLog quiet_;
  std::map<std::uint32_t, std::vector<std::uint32_t>> childrenByParent_;  // from the NBT
  std::set<std::uint32_t> visited_;
  std::vector<Folder> folders_;
};

}  // namespace vread
