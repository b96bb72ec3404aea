#include "Platform/Installation/Bundle.h"

#include <dlfcn.h>

#include "Platform/Base/Guard.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Graphics/ImageFiles.h"

namespace wevora::platform {

std::optional<Bundle> Bundle::bundleWithPath(std::string_view systemPath,
                                             const InstalledPaths& paths) {
  std::string path = paths.translate(systemPath);
  if (!isDirectory(statOfTarget(path))) return std::nullopt;
  return Bundle(std::move(path));
}

std::optional<std::string> Bundle::pathForImageResource(std::string_view name) const {
  if (name.empty() || name.find('/') != std::string_view::npos) return std::nullopt;
  std::string path = path_ + "/Contents/Resources/" + std::string(name);
  const auto file = statOfTarget(path);
  if (!file || isDirectory(file)) return std::nullopt;
  return path;
}

ImageRef Bundle::imageForResource(std::string_view name) const {
  const auto path = pathForImageResource(name);
  return path ? imageWithContentsOfFile(*path) : nullptr;
}

bool Bundle::load() const noexcept {
  return catchAllOr(false, [this] {
    std::string name(lastPathComponent(path_));
    name.erase(name.rfind('.'));
    const std::string file = path_ + "/Contents/Linux/" + name + ".so";
    void* code = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (code == nullptr) return false;
    const ScopeExit closed([code] { ::dlclose(code); });
    const auto entry = reinterpret_cast<void (*)()>(::dlsym(code, kEntry));
    if (entry == nullptr) return false;
    entry();
    return true;
  });
}

}  // namespace wevora::platform
