#include "Hosts/Common/Node.h"

#include <gtest/gtest.h>

namespace wevora::hosts {
namespace {

using platform::Id;
using platform::send;

class NodeTest : public testing::Test {
 protected:
  platform::Runtime runtime;
  Nodes nodes{runtime};

  std::optional<ItemURL> urlOf(const std::string& uri) {
    return send<std::optional<ItemURL>>(Id(nodes.make(uri)), "previewItemURL");
  }
  /// Looks a node up as the bundle does.
  Id found(const TFENode& reference) {
    return send<Id>(runtime.classNamed("FINode"), "nodeFromNodeRef:", reference);
  }
};

TEST_F(NodeTest, ANodeIsFoundByItsReference) {
  const auto one = nodes.make("file:///one");
  const auto other = nodes.make("file:///other");
  EXPECT_EQ(found(*one->reference()), one);
  EXPECT_EQ(found(*other->reference()), other);
}

TEST_F(NodeTest, TwoNodesOfOneItemAreDistinct) {
  const auto one = nodes.make("file:///one");
  const auto again = nodes.make("file:///one");
  EXPECT_EQ(found(*one->reference()), one);
  EXPECT_EQ(found(*again->reference()), again);
}

TEST_F(NodeTest, AReferenceToADestroyedNodeFindsNothing) {
  auto node = nodes.make("file:///one");
  const TFENode reference = *node->reference();
  node.reset();
  EXPECT_EQ(found(reference), nullptr);
}

TEST_F(NodeTest, AnInvalidReferenceFindsNothing) {
  const auto node = nodes.make("file:///one");
  EXPECT_EQ(found(TFENode{}), nullptr);
  EXPECT_EQ(found(TFENode{this}), nullptr);
}

TEST_F(NodeTest, ANodeKnowsThePathOfItsItem) {
  const auto url = urlOf("file:///media/Stick/two%20words%25");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->path(), "/media/Stick/two words%");
}

TEST_F(NodeTest, ThePathKeepsBytesThatAreNotUtf8) {
  const auto url = urlOf("file:///a/latin%E9");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->path(), "/a/latin\xE9");
}

TEST_F(NodeTest, AnItemWithoutALocalPathHasNoURL) {
  for (const char* uri : {"trash:///x", "recent:///x", "sftp://host/x", "network:///", ""})
    EXPECT_FALSE(urlOf(uri)) << uri;
}

}  // namespace
}  // namespace wevora::hosts
