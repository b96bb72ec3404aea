#include "FinderIntegration/finder_bundle/DB/FSCRAccessor.h"

#include <optional>

#include "FinderIntegration/finder_bundle/DB/ColumnPosition.h"
#include "Platform/Base/Strings.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/SyncDatabaseSchema.h"

namespace wevora {
namespace {

using platform::DatabaseError;
using platform::ResultSet;

struct Columns {
  int id = 0;
  int rootFolder = 0;
  int pathFilter = 0;
  int contentType = 0;
  int order = 0;
  int exclude = 0;
  int fc = 0;

  static Columns of(const ResultSet& rows) {
    Columns columns;
    std::optional<DatabaseError> error;
    const bool found = findColumn(rows, kFSCRTableColumnFSCRID, columns.id, &error) &&
                       findColumn(rows, kFSCRTableColumnISFolder, columns.rootFolder, &error) &&
                       findColumn(rows, kFSCRTableColumnPathFilter, columns.pathFilter, &error) &&
                       findColumn(rows, kFSCRTableColumnContentType, columns.contentType, &error) &&
                       findColumn(rows, kFSCRTableColumnOrder, columns.order, &error) &&
                       findColumn(rows, kFSCRTableColumnExclude, columns.exclude, &error) &&
                       findColumn(rows, kFSCRTableColumnFC, columns.fc, &error);
    if (!found) throw BadDatabase(*error);
    return columns;
  }
};

WVRFSCRNode::Text text(ResultSet& rows, int column) {
  const auto value = rows.text(column);
  return value ? WVRFSCRNode::Text(*value) : std::nullopt;
}

WVRFSCRNode nodeOfRow(ResultSet& rows, const Columns& columns, std::string_view mountPoint) {
  WVRFSCRNode node;
  node.setFscr_id(text(rows, columns.id));
  node.setRoot_folder(platform::pathByAppendingComponent(
      mountPoint, rows.text(columns.rootFolder).value_or(std::string_view())));
  node.setPath_filter(text(rows, columns.pathFilter));
  node.setContent_type(text(rows, columns.contentType));
  node.setOrder(rows.int32(columns.order));
  node.setExclude(rows.boolean(columns.exclude));
  node.setFc(text(rows, columns.fc));
  return node;
}

}  // namespace

std::string FSCRAccessor::mountPoint() const {
  const platform::MutexLock lock(mutex_);
  return mountPoint_;
}

void FSCRAccessor::setMountPoint(std::string mountPoint) {
  const platform::MutexLock lock(mutex_);
  mountPoint_ = std::move(mountPoint);
}

FSCRAccessor::Nodes FSCRAccessor::notExcludedNodes(platform::Database& database) const {
  return nodesWithExclude("0", database);
}

FSCRAccessor::Nodes FSCRAccessor::excludedNodes(platform::Database& database) const {
  return nodesWithExclude("1", database);
}

FSCRAccessor::Nodes FSCRAccessor::nodesWithExclude(std::string_view value,
                                                   platform::Database& database) const {
  const std::string query = std::string("SELECT * FROM ") + kFSCRTableName + " WHERE " +
                            kFSCRTableColumnExclude + "=" + std::string(value) + ";";
  std::optional<DatabaseError> error;
  const auto rows = database.executeQuery(query, &error);
  if (!rows) throw BadDatabase(error.value_or(DatabaseError{}));
  return nodesForQueryResult(*rows);
}

FSCRAccessor::Nodes FSCRAccessor::nodesForQueryResult(platform::ResultSet& rows) const {
  Nodes nodes;
  const std::string volume = mountPoint();
  std::optional<Columns> columns;
  std::optional<DatabaseError> error;
  for (;;) {
    const auto step = rows.next(&error);
    if (step == ResultSet::Step::done) return nodes;
    // Rows read before an error are discarded.
    if (step == ResultSet::Step::error) throw BadDatabase(error.value_or(DatabaseError{}));
    if (!columns) columns = Columns::of(rows);
    nodes.push_back(nodeOfRow(rows, *columns, volume));
  }
}

}  // namespace wevora
