// Rows that are bound to statements of the ADBC driver, or ingested.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>

#include "adbc_on_h2.h"

namespace kivo::test {
namespace {

/// The rows of a query as a batch, to bind elsewhere.
Batch batchOf(AdbcClient& client, const char* sql) {
  AdbcQuery query(client, sql);
  Held<ArrowArrayStream> rows;
  if (const Outcome outcome = query.execute(&rows); !outcome) throw std::runtime_error(outcome.text);
  return Batch(rows);
}

TEST_F(AdbcOnH2, RunsAStatementForBoundRows) {
  run("create table kept (a int primary key, b varchar(9))");
  AdbcQuery insert(client, "insert into kept values (?, ?)");
  Batch batch = batchOf(client, "select cast(x as int), 'n' || x from system_range(1, 3)");
  EXPECT_TRUE(insert.bind(batch.schema, batch.rows));
  EXPECT_EQ(batch.rows.release, nullptr) << "the statement owns the rows";
  const Outcome inserted = insert.execute();
  EXPECT_TRUE(inserted) << inserted;
  EXPECT_EQ(insert.changed, 3);

  Held<ArrowSchema> parameters;
  AdbcQuery one(client, "select b from kept where a = ?");
  EXPECT_TRUE(call(&AdbcDriver::StatementPrepare, &one.statement));
  EXPECT_TRUE(call(&AdbcDriver::StatementGetParameterSchema, &one.statement, &parameters));
  ASSERT_EQ(parameters.n_children, 1);
  EXPECT_STREQ(parameters.children[0]->format, "i");
  EXPECT_TRUE(one.bind(batchOf(client, "select 2")));
  Held<ArrowArrayStream> found;
  EXPECT_TRUE(one.execute(&found));
  EXPECT_EQ(textOf(found), "<n2>");
  EXPECT_TRUE(one.bind(batchOf(client, "select 3")));
  EXPECT_TRUE(one.execute()) << "nobody wants its rows";

  // The second row cannot be stored, so none is.
  EXPECT_TRUE(insert.bind(batchOf(client, "select cast(7 - x as int), 'again' from system_range(3, 5)")));
  EXPECT_EQ(insert.execute().status, ADBC_STATUS_INTEGRITY);
  EXPECT_EQ(rowsOf(client, "select count(*) from kept"), "<3>");
}

TEST_F(AdbcOnH2, RefusesRowsThatCannotBeBound) {
  AdbcQuery query(client, "select ?");
  EXPECT_TRUE(query.bind(batchOf(client, "select 1, 2")));
  EXPECT_FALSE(query.execute()) << "two columns for one parameter";

  run("create table one (a int primary key)");
  run("insert into one values (0)");
  AdbcQuery failing(client, "insert into one values (?)");
  EXPECT_TRUE(failing.bind(batchOf(client, "select 0")));
  Held<ArrowArrayStream> none;
  EXPECT_EQ(failing.execute(&none).status, ADBC_STATUS_INTEGRITY);
  EXPECT_EQ(failing.execute(&none).status, ADBC_STATUS_INVALID_STATE) << "its rows are gone";

  Batch outer = batchOf(client, "select 1");
  EXPECT_EQ(query.bind(*outer.schema.children[0], outer.rows).status, ADBC_STATUS_INVALID_ARGUMENT) << "no struct";
  EXPECT_EQ(outer.rows.release, nullptr);
  EXPECT_EQ(query.bind(outer.schema, outer.rows).status, ADBC_STATUS_INVALID_ARGUMENT) << "released";
  EXPECT_EQ(call(&AdbcDriver::StatementBind, &query.statement, nullptr, nullptr).status, ADBC_STATUS_INVALID_ARGUMENT);
}

TEST_F(AdbcOnH2, IngestsRowsInFourModes) {
  const struct {
    const char* mode;
    AdbcStatusCode status;
    const char* rows;
  } steps[] = {
      {"append", ADBC_STATUS_NOT_FOUND, ""},
      {"create", ADBC_STATUS_OK, "<2>"},
      {"create", ADBC_STATUS_ALREADY_EXISTS, "<2>"},
      {"append", ADBC_STATUS_OK, "<4>"},
      {"replace", ADBC_STATUS_OK, "<2>"},
      {"create_append", ADBC_STATUS_OK, "<4>"},
  };
  for (const auto& [mode, status, rows] : steps) {
    SCOPED_TRACE(mode);
    AdbcIngestion ingest(client, "ta\"ken", mode);
    EXPECT_TRUE(ingest.bind(batchOf(client, "select x as \"a\", 'it''s ' || x as \"b c\" from system_range(1, 2)")));
    const Outcome outcome = ingest.execute();
    EXPECT_EQ(outcome.status, status) << outcome;
    EXPECT_EQ(ingest.changed, status == ADBC_STATUS_OK ? 2 : -2);
    const std::string found =
        *rows == '\0' ? "" : rowsOf(client, "select count(*) from \"ta\"\"ken\" where \"b c\" like 'it''s _'");
    EXPECT_EQ(found, rows);
  }
}

TEST_F(AdbcOnH2, IngestsIntoTemporaryTables) {
  run("create table lasting (\"1\" int)");
  const std::pair<const char*, const char*> steps[] = {
      {"create", "SHORT"}, {"append", "SHORT"}, {"replace", "SHORT"}, {"create_append", "SHORT"}, {"append", "LASTING"},
  };
  for (const auto& [mode, table] : steps) {
    AdbcIngestion ingest(client, table, mode);
    EXPECT_TRUE(ingest.set("adbc.ingest.temporary", "true"));
    EXPECT_TRUE(ingest.bind(batchOf(client, "select 1")));
    const Outcome outcome = ingest.execute();
    const bool isThere = std::string(table) == "SHORT";
    EXPECT_EQ(outcome.status, isThere ? ADBC_STATUS_OK : ADBC_STATUS_NOT_FOUND) << mode << ": " << outcome;
  }
  EXPECT_EQ(rowsOf(client, "select count(*) from short"), "<2>");
}

TEST_F(AdbcOnH2, IngestsAllRowsOrNone) {
  run("create table whole (\"A\" bigint)");
  AdbcClient source(h2("source"));
  AdbcQuery failing(source, "select 6 / (3 - x) as a from system_range(1, 5)");
  EXPECT_TRUE(failing.set("adbc.jdbc.batch_rows", "1"));
  Held<ArrowArrayStream> rows;
  ASSERT_TRUE(failing.execute(&rows));
  AdbcIngestion ingest(client, "WHOLE", "append");
  EXPECT_EQ(ingest.execute().status, ADBC_STATUS_INVALID_STATE) << "no rows are bound";
  EXPECT_TRUE(ingest.bind(rows));
  const Outcome outcome = ingest.execute();
  EXPECT_EQ(outcome.status, ADBC_STATUS_IO) << outcome;
  EXPECT_NE(outcome.text.find("Division by zero"), std::string::npos) << outcome;
  EXPECT_EQ(rowsOf(client, "select count(*) from whole"), "<0>");
}

}  // namespace
}  // namespace kivo::test
