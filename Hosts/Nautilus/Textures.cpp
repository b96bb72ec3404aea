#include "Hosts/Nautilus/Textures.h"

namespace wevora::nautilus {

GObjectPtr<GdkTexture> makeTexture(const platform::BitmapRef& bitmap) {
  const auto pixels = std::as_bytes(bitmap->pixels());
  auto* const share = new platform::BitmapRef(bitmap);  // NOLINT(cppcoreguidelines-owning-memory)
  GBytes* const bytes = g_bytes_new_with_free_func(
      pixels.data(), pixels.size(),
      +[](gpointer held) noexcept {
        std::default_delete<platform::BitmapRef>()(static_cast<platform::BitmapRef*>(held));
      },
      share);
  GObjectPtr<GdkTexture> texture(
      gdk_memory_texture_new(static_cast<int>(bitmap->width()), static_cast<int>(bitmap->height()),
                             GDK_MEMORY_DEFAULT, bytes, bitmap->bytesPerRow()));
  g_bytes_unref(bytes);
  return texture;
}

GdkTexture* Textures::of(const platform::BitmapRef& bitmap) {
  const auto found = textures_.find(bitmap->identity());
  if (found != textures_.end()) return found->second.get();
  if (textures_.size() >= kKept) textures_.clear();
  return textures_.emplace(bitmap->identity(), makeTexture(bitmap)).first->second.get();
}

}  // namespace wevora::nautilus
