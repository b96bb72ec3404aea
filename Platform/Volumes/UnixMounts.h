#pragma once

#include <gio/gunixmounts.h>

namespace wevora::platform::unix_mounts {

// GLib 2.84 renamed these functions and deprecates the old names.
#if GLIB_CHECK_VERSION(2, 84, 0)
inline GList* entries() {
  return g_unix_mount_entries_get(nullptr);
}
inline void free(GUnixMountEntry* mount) {
  g_unix_mount_entry_free(mount);
}
inline const char* path(GUnixMountEntry* mount) {
  return g_unix_mount_entry_get_mount_path(mount);
}
inline const char* fileSystemType(GUnixMountEntry* mount) {
  return g_unix_mount_entry_get_fs_type(mount);
}
#else
inline GList* entries() {
  return g_unix_mounts_get(nullptr);
}
inline void free(GUnixMountEntry* mount) {
  g_unix_mount_free(mount);
}
inline const char* path(GUnixMountEntry* mount) {
  return g_unix_mount_get_mount_path(mount);
}
inline const char* fileSystemType(GUnixMountEntry* mount) {
  return g_unix_mount_get_fs_type(mount);
}
#endif

}  // namespace wevora::platform::unix_mounts
