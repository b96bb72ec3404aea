#include "Apps/agent_sim/DatabaseWriter.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::agent_sim {
namespace {

using platform::TemporaryFolder;

TEST(DatabaseWriterTest, AnUncommittedTransactionIsRolledBack) {
  const TemporaryFolder folder;
  DatabaseWriter writer(folder.path("w.db"), DatabaseWriter::Mode::createIfMissing);
  writer.runScript("CREATE TABLE t(a)");
  {
    const DatabaseWriter::Transaction uncommitted(writer);
    writer.run("INSERT INTO t VALUES(1)");
  }
  {
    DatabaseWriter::Transaction committed(writer);
    writer.run("INSERT INTO t VALUES(2)");
    committed.commit();
  }
  EXPECT_EQ(writer.run("SELECT a FROM t"), std::vector<DatabaseWriter::Row>{{std::int64_t{2}}});
  EXPECT_THROW(writer.run("SELECT * FROM absent"), DatabaseFailure);
  EXPECT_THROW(DatabaseWriter(folder.path("no.db"), DatabaseWriter::Mode::mustExist),
               DatabaseFailure);
}

}  // namespace
}  // namespace wevora::agent_sim
