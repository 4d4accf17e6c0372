// A whole mailbox file read back and checked: the entry point of the reader.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "btree.h"
#include "data_tree.h"
#include "database.h"
#include "file_status.h"
#include "header.h"
#include "mailbox_model.h"
#include "name_map.h"
#include "property_context.h"
#include "table_context.h"
#include "violations.h"

namespace vread {

// The 64-byte record written after the B-trees: counts kept by the writer.
struct RecordBlock {
  std::uint64_t ib = 0;
  std::uint64_t bid = 0;
  std::uint32_t messages = 0;
  std::uint32_t events = 0;
};

class Mailbox {
 public:
  // Reads and checks a file. Content problems become violations; a file
  // that cannot be read at all sets loadError().
  static Mailbox open(const std::string& path);
  static Mailbox fromBytes(Bytes bytes);

  Mailbox(Mailbox&&) noexcept;
  Mailbox& operator=(Mailbox&&) noexcept;
  ~Mailbox();

  const std::string& loadError() const;
  const HeaderInfo& header() const;
  // Final header, both B-trees readable and no violations (warnings allowed).
  bool complete() const;
  const std::vector<Violation>& violations() const;
  // Unlisted space and other defects that leave every structure readable.
  const std::vector<Warning>& warnings() const;
  // Provisional (clean provisional header), Complete, CompleteWithWarnings,
  // or Invalid (any violation, or a file that could not be loaded).
  FileStatus status() const;

  // Node database.
  const std::vector<NodeEntry>& nodes() const;
  const NodeEntry* node(std::uint32_t nid) const;
  const std::vector<BlockEntry>& blocks() const;  // BBT order
  const std::vector<PageInfo>& nbtPages() const;
  const std::vector<PageInfo>& bbtPages() const;
  std::size_t mapPageCount() const;
  // Listed blocks that no node, subnode or attachment reaches (NBT pages excluded).
  std::vector<BlockEntry> unreferencedBlocks() const;
  // Blocks present in the file but missing from the BBT.
  const std::vector<UnlistedBlock>& unlistedBlocks() const;
  std::optional<RecordBlock> recordBlock() const;
  // Decoded payload of a listed block / of the block starting at `ib`.
  std::optional<Bytes> blockPayload(std::uint64_t bid) const;
  std::optional<Bytes> payloadAt(std::uint64_t ib) const;

  // Nodes and their contexts (decoded, X-trees reassembled).
  std::optional<Bytes> nodeData(std::uint32_t nid) const;
  std::vector<SubnodeEntry> subnodes(std::uint32_t nid) const;
  std::optional<Bytes> subnodeData(std::uint32_t nid, std::uint32_t subnid) const;
  std::optional<PropertyContext> properties(std::uint32_t nid) const;
  std::optional<PropertyContext> subnodeProperties(std::uint32_t nid, std::uint32_t subnid) const;
  std::optional<TableContext> table(std::uint32_t nid) const;
  std::optional<TableContext> subnodeTable(std::uint32_t nid, std::uint32_t subnid) const;

  // Messaging view.
  const std::vector<Folder>& folders() const;  // depth-first, root first
  const Folder* folder(std::uint32_t nid) const;
  const Item* item(std::uint32_t nid) const;
  const NameMap& nameMap() const;
  std::optional<std::string> storeName() const;
  std::optional<Bytes> attachmentData(const Attachment& attachment) const;

 private:
  struct State;
  explicit Mailbox(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace vread
