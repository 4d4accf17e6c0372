// Folder registry, named-property map and the item conversions.
#include <stdexcept>

#include "messaging/event_serializer.h"
#include "messaging/folder_registry.h"
#include "messaging/named_property_map.h"
#include "messaging/property_tags.h"
#include "test_util.h"

using namespace virel;
using testutil::Le16;
using testutil::Le32;

namespace {

struct Registry {
  ndb::NodeRegistry nodes;
  FolderRegistry folders{&nodes};
  Registry() {
    folders.CreateRoot(kRootFolderNid);
    for (const DefaultFolder& f : kDefaultFolders) {
      folders.AddDefaultFolder(f.name, f.nid);
    }
  }
};

}  // namespace

TEST(MessagingFolders, PathsResolveFromRootAndCreateMissingFolders) {
  Registry r;
  EXPECT_EQ(r.folders.root_id(), 1u);
  EXPECT_EQ(r.folders.Find("Inbox"), 2u);
  EXPECT_EQ(r.folders.Find("Drafts"), 6u);
  EXPECT_EQ(r.folders.NidOf(r.folders.Find("Sent Items")), 0x282u);
  EXPECT_EQ(r.folders.Get(1)->children.size(), 5u);

  const uint64_t b = r.folders.Resolve("A/B");
  const uint64_t a = r.folders.Find("A");
  EXPECT_EQ(a, 7u);  // A is created before B
  EXPECT_EQ(b, 8u);
  EXPECT_EQ(r.folders.Resolve("/A/B/"), b);
  EXPECT_EQ(r.folders.Resolve("A//B"), b);
  EXPECT_EQ(r.folders.Resolve("A/B"), b);  // a spelling seen before
  EXPECT_EQ(r.folders.Resolve("A"), a);
  EXPECT_EQ(r.folders.size(), 8u);
  EXPECT_EQ(r.folders.Get(b)->parent_id, a);
  EXPECT_EQ(r.folders.caller_folders(), (std::vector<uint64_t>{a, b}));

  // Each new folder draws a type-2 NID under its parent's NID, skipping
  // the fixed NIDs on the counter's path.
  const auto node_a = r.nodes.FindNode(r.folders.NidOf(a));
  const auto node_b = r.nodes.FindNode(r.folders.NidOf(b));
  ASSERT_TRUE(node_a && node_b);
  EXPECT_EQ(node_a->nid & 0x1F, 2u);
  EXPECT_EQ(node_a->nid_parent, kRootFolderNid);
  EXPECT_EQ(node_b->nid_parent, node_a->nid);

  // Names are case-sensitive; no pieces name the root.
  const uint64_t lower = r.folders.Resolve("inbox");
  EXPECT_NE(lower, r.folders.Find("Inbox"));
  EXPECT_EQ(r.folders.Resolve("/"), r.folders.root_id());
  EXPECT_EQ(r.folders.Find("Nope"), 0u);
  for (int i = 0; i < 20; ++i) r.folders.Resolve("F" + std::to_string(i));
  for (const auto& kv : {0x202u, 0x242u, 0x282u, 0x2C2u, 0x302u}) {
    EXPECT_EQ(r.nodes.FindNode(kv)->nid_parent, kRootFolderNid);
  }

  try {
    r.folders.CreateRoot(kRootFolderNid);
    FAIL();
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "Root folder already exists");
  }
  EXPECT_EQ(FolderRegistry::SplitPath("//x///y/"),
            (std::vector<std::string>{"x", "y"}));
}

TEST(MessagingFolders, FnvHashesMatchTheReferenceValues) {
  // FNV-1a 64 of "a" and of the empty string are published values.
  EXPECT_EQ(Fnv1aStringHash()("a"), static_cast<size_t>(0xAF63DC4C8601EC8Cull));
  EXPECT_EQ(Fnv1aStringHash()(""), static_cast<size_t>(0xCBF29CE484222325ull));
  EXPECT_NE(Fnv1aIdHash()(1), Fnv1aIdHash()(2));
}

TEST(MessagingNamedProperties, AssignsOnceAndWritesStreams) {
  NamedPropertyMap map;
  ltp::PropertyBag empty;
  map.Serialize(&empty);
  EXPECT_EQ(empty.size(), 0u);

  EXPECT_EQ(map.GetOrAssign(kPsetidAppointment, 0x820D), 0x8000);
  EXPECT_EQ(map.GetOrAssign(kPsetidCommon, 0x8503), 0x8001);
  EXPECT_EQ(map.GetOrAssign(kPsetidAppointment, 0x820D), 0x8000);
  EXPECT_EQ(map.GetOrAssign(kPsMapi, 0x10), 0x8002);
  EXPECT_EQ(map.GetOrAssign(kPsPublicStrings, 0x11), 0x8003);
  EXPECT_EQ(map.entry_count(), 4u);

  ltp::PropertyBag bag;
  map.Serialize(&bag);
  const auto* guids = bag.Find(tag::kNameidStreamGuid);
  const auto* entries = bag.Find(tag::kNameidStreamEntry);
  ASSERT_TRUE(guids && entries);
  EXPECT_EQ(bag.Find(tag::kNameidStreamString), nullptr);
  ASSERT_EQ(guids->size(), 32u);  // the two well-known sets are not listed
  EXPECT_EQ((*guids)[0], 0x02);
  EXPECT_EQ((*guids)[1], 0x20);
  EXPECT_EQ((*guids)[2], 0x06);
  EXPECT_EQ((*guids)[8], 0xC0);
  EXPECT_EQ((*guids)[16 + 0], 0x08);
  ASSERT_EQ(entries->size(), 32u);
  const std::vector<uint8_t> e = entries->ToBytes();
  EXPECT_EQ(Le32(e, 0), 0x820Du);
  EXPECT_EQ(Le16(e, 4), 3 << 1);  // first listed GUID
  EXPECT_EQ(Le16(e, 6), 0);
  EXPECT_EQ(Le16(e, 12), 4 << 1);
  EXPECT_EQ(Le16(e, 20), 4);  // PS_MAPI is 2, shifted
  EXPECT_EQ(Le16(e, 28), 2);  // PS_PUBLIC_STRINGS is 1, shifted
  EXPECT_EQ(Le16(e, 30), 3);
}

TEST(MessagingConversions, TimesAndStateFlags) {
  EXPECT_EQ(TicksToFiletime(0), 116444736000000000ull);
  EXPECT_EQ(TicksToFiletime(15), 116444736000000000ull);  // sub-second dropped
  EXPECT_EQ(TicksToFiletime(-15), 116444736000000000ull);  // toward zero
  EXPECT_EQ(TicksToFiletime(-10000000), 116444735990000000ull);
  EXPECT_EQ(DurationMinutes(0, 90 * 10000000LL), 1);
  EXPECT_EQ(DurationMinutes(0, -90 * 10000000LL), -1);  // toward zero
  // Extreme values wrap instead of overflowing.
  EXPECT_EQ(SecondsToTicks(INT64_MAX / 10000000 + 1) < 0, true);
  EXPECT_EQ(DurationMinutes(INT64_MIN, INT64_MAX), 0);  // the span wraps to -1 tick
  TicksToFiletime(INT64_MIN);
  EXPECT_EQ(AppointmentStateFlags(1), 1u);
  EXPECT_EQ(AppointmentStateFlags(3), 2u);
  EXPECT_EQ(AppointmentStateFlags(5), 4u);
  for (uint32_t other : {0u, 2u, 4u, 6u, 99u}) {
    EXPECT_EQ(AppointmentStateFlags(other), 0u);
  }
}
