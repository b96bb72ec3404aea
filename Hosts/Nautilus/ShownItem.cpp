#include "Hosts/Nautilus/ShownItem.h"

#include <nautilus-extension.h>

#include "Platform/Base/Guard.h"

namespace wevora::nautilus {
namespace {

std::optional<std::string> uriOf(GObject* file) {
  const GText uri(nautilus_file_info_get_uri(NAUTILUS_FILE_INFO(file)));
  return uri ? std::optional<std::string>(uri.get()) : std::nullopt;
}

}  // namespace

const std::optional<std::string>& ShownItem::uri() {
  if (handler_ != 0) return uri_;
  uri_.reset();
  const auto item = objectProperty(widget_, "item");
  const auto file = objectProperty(item.get(), "file");
  if (!file || !NAUTILUS_IS_FILE_INFO(file.get())) return uri_;
  uri_ = uriOf(file.get());
  watch(file.get());
  return uri_;
}

void ShownItem::watch(GObject* file) {
  if (g_signal_lookup("changed", G_OBJECT_TYPE(file)) == 0) return;
  const auto changed = +[](GObject*, gpointer self) noexcept {
    platform::catchAll([&] { static_cast<ShownItem*>(self)->fileChanged(); });
  };
  handler_ = g_signal_connect(file, "changed", G_CALLBACK(changed), this);
  file_.set(file);
}

void ShownItem::fileChanged() {
  const auto file = file_.get();
  if (!file) return;
  auto uri = uriOf(file.get());
  if (uri == uri_) return;
  uri_ = std::move(uri);
  moved_();
}

void ShownItem::forget() {
  const auto file = file_.get();
  if (file && handler_ != 0) g_signal_handler_disconnect(file.get(), handler_);
  handler_ = 0;
  file_.set(nullptr);
  uri_.reset();
}

}  // namespace wevora::nautilus
