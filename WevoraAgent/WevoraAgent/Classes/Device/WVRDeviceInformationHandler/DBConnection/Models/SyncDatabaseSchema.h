#pragma once

namespace wevora {

// Tables and columns of the sync database. All other code uses these constants.

inline constexpr const char* kFileTableName = "file";
inline constexpr const char* kFileTableColumnFileID = "file_id";
inline constexpr const char* kFileTableColumnParentID = "parent_id";
inline constexpr const char* kFileTableColumnDeviceID = "device_id";
inline constexpr const char* kFileTableColumnIsFolder = "is_folder";
inline constexpr const char* kFileTableColumnNameShort = "name_short";
inline constexpr const char* kFileTableColumnNameLong = "name_long";
inline constexpr const char* kFileTableColumnSyncDate = "synchronized";
inline constexpr const char* kFileTableColumnScannedDate = "scanned";
inline constexpr const char* kFileTableColumnRetryCount = "retry_count";
inline constexpr const char* kFileTableColumnCourierDriveID = "courier_drive_id";
inline constexpr const char* kFileTableColumnMD5 = "md5";
inline constexpr const char* kFileTableColumnModifyDate = "modify_date";
inline constexpr const char* kFileTableColumnFileSize = "size";
inline constexpr const char* kFileTableColumnFCR = "fcr";

inline constexpr const char* kFSCRTableName = "fscr";
inline constexpr const char* kFSCRTableColumnFSCRID = "fscr_id";
inline constexpr const char* kFSCRTableColumnFCR = "is_fcr";
inline constexpr const char* kFSCRTableColumnISSystem = "is_system";
inline constexpr const char* kFSCRTableColumnISFolder =
    "root_folder";  // the agent uses this constant name
inline constexpr const char* kFSCRTableColumnPathFilter = "path_filter";
inline constexpr const char* kFSCRTableColumnContentType = "content_type";
inline constexpr const char* kFSCRTableColumnMinSize = "min_size";
inline constexpr const char* kFSCRTableColumnMaxSize = "max_size";
inline constexpr const char* kFSCRTableColumnHidden = "hidden";
inline constexpr const char* kFSCRTableColumnSystem = "system";
inline constexpr const char* kFSCRTableColumnOrder = "order";
inline constexpr const char* kFSCRTableColumnExclude = "exclude";
inline constexpr const char* kFSCRTableColumnFC = "fc";

inline constexpr const char* kCurrentTransactionsTableName = "CurrentTransactions";

/// The identifier of the volume's top row, at which path walks start.
inline constexpr const char* kNilFileID = "00000000-0000-0000-0000-000000000000";

}  // namespace wevora
