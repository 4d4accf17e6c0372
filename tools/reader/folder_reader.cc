#include "folder_reader.h"

#include "layout.h"
#include "tags.h"

namespace vread {

using namespace layout;

namespace {

constexpr int kMaxDepth = 64;

std::uint32_t typeOfNid(std::uint32_t nid) { return nid & kNidTypeMask; }

}  // namespace

FolderReader::FolderReader(const Database& db, const NodeAccess& access, const NameMap& names, ViolationLog& log)
    : db_(db), access_(access), log_(log), items_(db, access, names, log) {
  for (const auto& n : db.nodeTree().nodes) childrenByParent_[n.parent].push_back(n.nid);
}

std::vector<Folder> FolderReader::read() {
  if (db_.node(kNidRoot) == nullptr) {
    log_.add(0, "root folder node " + hex(kNidRoot) + " is missing");
    return {};
  }
  readFolder(kNidRoot, db_.node(kNidRoot)->parent, 0);
  checkUnreached();
  return std::move(folders_);
}

void FolderReader::readFolder(std::uint32_t nid, std::uint32_t parent, int depth) {
  if (!visited_.insert(nid).second || depth > kMaxDepth) {
    log_.add(db_.node(nid)->entryOffset, "folder " + hex(nid) + " is reached twice in the hierarchy");
    return;
  }
  ViolationLog::Scope scope(log_, "folder " + hex(nid));
  Folder f;
  f.nid = nid;
  f.parent = parent;
  f.depth = depth;
  if (auto pc = NodeAccess::pc(access_.data(nid, quiet_), quiet_)) {
    f.name = pc->text(tag::kDisplayName).value_or("");
    f.containerClass = pc->text(tag::kContainerClass).value_or("");
    f.contentCount = pc->u32(tag::kContentCount);
  } else {
    log_.add(db_.node(nid)->entryOffset, "folder has no readable property context");
  }
  f.children = readHierarchy(nid);
  f.items = readContents(nid);
  std::vector<std::uint32_t> children = f.children;
  folders_.push_back(std::move(f));
  for (std::uint32_t child : children)
    if (db_.node(child) != nullptr) readFolder(child, nid, depth + 1);
}

bool FolderReader::checkRow(const Row& row, std::uint32_t folder, std::uint32_t type, std::uint32_t& lastId) {
  if (row.index > 0 && row.rowId <= lastId)
    log_.add(row.offset, "row " + std::to_string(row.index) + " (" + hex(row.rowId) + ") breaks ascending NID order");
  lastId = row.rowId;
  const NodeEntry* n = db_.node(row.rowId);
  if (n == nullptr) {
    log_.add(row.offset, "row names node " + hex(row.rowId) + ", which is not in the NBT");
    return false;
  }
  if (typeOfNid(row.rowId) != type) log_.add(row.offset, "row names node " + hex(row.rowId) + " of the wrong type");
  if (n->parent != folder)
    log_.add(n->entryOffset + 24, "node " + hex(row.rowId) + " is listed here but its parent is " + hex(n->parent));
  return true;
}

std::vector<std::uint32_t> FolderReader::readHierarchy(std::uint32_t nid) {
  std::vector<std::uint32_t> out;
  auto table = NodeAccess::tc(access_.subnodeData(nid, kSubHierarchy, quiet_), quiet_);
  std::uint32_t lastId = 0;
  if (table)
    for (const Row& row : table->rows()) {
      if (!checkRow(row, nid, kNidTypeFolder, lastId)) continue;
      auto child = NodeAccess::pc(access_.data(row.rowId, quiet_), quiet_);
      auto rowName = table->text(row, tag::kDisplayName);
      if (child && rowName != child->text(tag::kDisplayName))
        log_.add(row.offset, "row for folder " + hex(row.rowId) + " shows \"" + rowName.value_or("") +
                                 "\" but the folder is named \"" + child->text(tag::kDisplayName).value_or("") + "\"");
      out.push_back(row.rowId);
    }
  checkUnlisted(nid, out, kNidTypeFolder);
  return out;
}

std::vector<Item> FolderReader::readContents(std::uint32_t nid) {
  std::vector<Item> out;
  std::vector<std::uint32_t> listed;
  auto table = NodeAccess::tc(access_.subnodeData(nid, kSubContents, quiet_), quiet_);
  std::uint32_t lastId = 0;
  if (table)
    for (const Row& row : table->rows()) {
      if (!checkRow(row, nid, kNidTypeItem, lastId)) continue;
      listed.push_back(row.rowId);
      auto item = items_.read(row.rowId, nid);
      if (!item) {
        log_.add(row.offset, "item " + hex(row.rowId) + " has no readable property context");
        continue;
      }
      if (table->text(row, tag::kMessageClass) != item->messageClass)
        log_.add(row.offset, "row for item " + hex(row.rowId) + " shows class \"" +
                                 table->text(row, tag::kMessageClass).value_or("") + "\" but the item has \"" +
                                 item->messageClass + "\"");
      out.push_back(std::move(*item));
    }
  checkUnlisted(nid, listed, kNidTypeItem);
  return out;
}

void FolderReader::checkUnlisted(std::uint32_t folder, const std::vector<std::uint32_t>& listed, std::uint32_t type) {
  std::set<std::uint32_t> have(listed.begin(), listed.end());
  for (std::uint32_t child : childrenByParent_[folder])
    if (typeOfNid(child) == type && !have.count(child))
      log_.add(db_.node(child)->entryOffset, "node " + hex(child) + " has this folder as parent but is missing from its " +
                                                 (type == kNidTypeFolder ? "hierarchy" : "contents") + " table");
}

void FolderReader::checkUnreached() {
  for (const auto& n : db_.nodeTree().nodes)
    if (typeOfNid(n.nid) == kNidTypeFolder && !visited_.count(n.nid) && !visited_.count(n.parent))
      log_.add(n.entryOffset, "folder " + hex(n.nid) + " cannot be reached from the root folder");
}

}  // namespace vread
