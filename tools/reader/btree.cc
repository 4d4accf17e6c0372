#include "btree.h"

#include "btree_walker.h"
#include "layout.h"

namespace vread {

using namespace layout;

NodeTree readNodeTree(const FileImage& file, const HeaderInfo& header, ViolationLog& log) {
  ViolationLog::Scope scope(log, "NBT");
  NodeTree tree;
  BTreeWalker walker(file, header.fileEof, kPtypeNbt, kCbNbtEntry, "NBT", log);
  tree.pages = walker.walk(header.nbt, [&](const std::uint8_t* e, std::uint64_t offset) {
    if (le32(e + 4) != 0) log.add(offset + 4, "NID " + hex(le64(e)) + " does not fit 32 bits");
    tree.nodes.push_back({le32(e), le64(e + 8), le64(e + 16), le32(e + 24), offset});
  });
  return tree;
}

BlockTree readBlockTree(const FileImage& file, const HeaderInfo& header, ViolationLog& log) {
  ViolationLog::Scope scope(log, "BBT");
  BlockTree tree;
  BTreeWalker walker(file, header.fileEof, kPtypeBbt, kCbBbtEntry, "BBT", log);
  tree.pages = walker.walk(header.bbt, [&](const std::uint8_t* e, std::uint64_t offset) {
    BlockEntry block{le64(e), le64(e + 8), le16(e + 16), le16(e + 18), offset};
    if (block.cRef != 1) log.add(offset + 18, "block " + hex(block.bid) + " has cRef " + std::to_string(block.cRef));
    tree.blocks.push_back(block);
  });
  return tree;
}

}  // namespace vread
