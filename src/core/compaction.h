// The writer's bookkeeping record blocks, written at close before the
// file's own structures: folder records, content lists, the content-table
// index and one row block per folder with contents.
#pragma once

#include "core/item_registry.h"
#include "messaging/folder_registry.h"
#include "messaging/named_property_map.h"
#include "ndb/data_writer.h"
#include "ndb/record_blocks.h"

namespace virel {

// What close keeps of an added message: `properties` is the bag its
// serialisation filled, whose converted texts the row takes over.
StoredMessage StoreMessage(const ItemResult& result, const MessageRecord& m,
                           ltp::PropertyBag* properties);
StoredEvent StoreEvent(const EventResult& result, const EventRecord& e,
                       ltp::PropertyBag* properties, NamedPropertyMap* names);

// The cells of a message's row; texts are moved out of `properties` when
// given, else they are converted here.
ItemRowCells MessageRowCells(const MessageRecord& m,
                             ltp::PropertyBag* properties);
// The cells of an event's row, texts as for a message's; assigns its named
// properties if needed.
ItemRowCells EventRowCells(const EventRecord& e, ltp::PropertyBag* properties,
                           NamedPropertyMap* names);
// Bytes an item's row adds to its folder's row block.
size_t RowSize(const ItemRowCells& cells);

class RecordBlockWriter {
 public:
  RecordBlockWriter(const FolderRegistry& folders,
                    const ContentsRegistry& contents, const ItemRegistry& items,
                    NamedPropertyMap* names, ndb::DataWriter* writer)
      : folders_(folders), contents_(contents), items_(items), names_(names),
        writer_(writer) {}

  void WriteAll();

  // The cells of one item's row; empty for an unknown kind.
  std::vector<std::pair<uint32_t, Bytes>> RowCells(const ContentRecord& r);

 private:
  void WriteFolderRecords();
  std::vector<ndb::ContentListRef> WriteContentLists();
  // One row block per folder with contents, in the order of the map.
  void WriteRowBlocks();
  // A message's or event's row as kept since it was added; null for other
  // kinds.
  const ItemRowCells* StoredRow(const ContentRecord& r) const;
  ndb::Bref Write(const Bytes& payload);

  const FolderRegistry& folders_;
  const ContentsRegistry& contents_;
  const ItemRegistry& items_;
  NamedPropertyMap* names_;
  ndb::DataWriter* writer_;
};

}  // namespace virel
