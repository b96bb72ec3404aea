#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "FinderIntegration/finder_bundle/Tools/TFENode.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::testing_host {

using platform::Class;
using platform::Id;
using platform::Object;

/// A view or layer of the host that counts redraw requests.
class View : public Object {
 public:
  using Object::Object;
  int redraws = 0;
};

/// A node of the host: a displayed item.
class Node : public Object {
 public:
  Node(Class& isa, std::string path) : Object(isa), url(std::move(path)) {}
  std::optional<ItemURL> url;  ///< nullopt: an item without a path
};

/// The contents of a browser window.
class Browser : public Object {
 public:
  using Object::Object;
  struct Item {
    std::shared_ptr<Node> node;
    std::shared_ptr<View> controlView;
  };
  std::shared_ptr<View> view;
  std::vector<Item> items;
  bool raises = false;
};

/// A fake host that records calls instead of drawing. It registers the classes that the bundle
/// looks up by name in its own runtime.
/// Errors: raises HostException where a test sets `raises` or `desktopRaises`.
class RecordingHost {
 public:
  /// Which classes the host registers.
  struct Classes {
    bool windows = true;
    bool browserControllers = true;
    bool desktop = true;
    bool nodes = true;
    bool listCells = true;
  };

  RecordingHost() : RecordingHost(Classes{}) {}
  explicit RecordingHost(Classes classes);
  RecordingHost(const RecordingHost&) = delete;
  RecordingHost& operator=(const RecordingHost&) = delete;

  std::shared_ptr<Browser> addBrowserWindow(const std::vector<std::string>& paths);
  /// A window with a view but without a browser controller.
  std::shared_ptr<View> addInformationPanel();
  /// A window whose controller raises an exception when asked for its contents.
  void addRaisingWindow();
  std::shared_ptr<View> makeView() { return std::make_shared<View>(*viewClass_); }
  /// A layer, which responds to "setNeedsDisplay" without an argument.
  std::shared_ptr<View> makeLayer() { return std::make_shared<View>(*layerClass_); }
  std::shared_ptr<Node> makeNode(const std::string& path);
  TFENode referenceTo(const std::string& path) { return {makeNode(path).get()}; }

  platform::Runtime runtime;
  int desktopReloads = 0;
  int desktopUpdates = 0;  ///< `updateNodes:` with the desktop's own nodes
  std::shared_ptr<View> desktopPreview;
  bool desktopRaises = false;
  std::vector<std::string> calls;  ///< calls of the desktop's methods, in order

 private:
  struct Window {
    Id window;
    Id controller;
  };
  void registerViews();
  void registerWindows(const Classes& classes);
  void registerNodes(const Classes& classes);
  void registerDesktop(const Classes& classes);
  void addWindow(Id controller);

  std::shared_ptr<Class> viewClass_;
  std::shared_ptr<Class> layerClass_;
  std::shared_ptr<Class> windowClass_;
  std::shared_ptr<Class> browserControllerClass_;
  std::shared_ptr<Class> otherControllerClass_;
  std::shared_ptr<Class> browserClass_;
  std::shared_ptr<Class> cellClass_;
  std::shared_ptr<Class> nodeClass_;
  std::shared_ptr<Class> desktopClass_;
  std::vector<Id> windows_;
  std::vector<std::shared_ptr<Node>> nodes_;
  std::vector<Id> desktopNodes_;
};

}  // namespace wevora::testing_host
