// Rows that are bound to statements of the ADBC driver, or ingested.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <utility>

#include "adbc_on_h2.h"

namespace kivo::test {
namespace {

/// The rows of a query as a batch, to bind elsewhere.
void readBatch(AdbcClient& client, const char* sql, Held<ArrowSchema>& schema, Held<ArrowArray>& batch) {
  AdbcQuery query(client, sql);
  Held<ArrowArrayStream> rows;
  const Outcome outcome = query.execute(&rows);
  ASSERT_TRUE(outcome) << outcome;
  ASSERT_EQ(rows.get_schema(&rows, &schema), 0);
  ASSERT_EQ(rows.get_next(&rows, &batch), 0);
}

TEST_F(AdbcOnH2, RunsAStatementForBoundRows) {
  run("create table kept (a int primary key, b varchar(9))");
  Held<ArrowSchema> schema;
  Held<ArrowArray> batch;
  readBatch(client, "select cast(x as int), 'n' || x from system_range(1, 3)", schema, batch);
  AdbcQuery insert(client, "insert into kept values (?, ?)");
  EXPECT_TRUE(insert.bind(schema, batch));
  EXPECT_EQ(batch.release, nullptr) << "the statement owns the rows";
  const Outcome inserted = insert.execute();
  EXPECT_TRUE(inserted) << inserted;
  EXPECT_EQ(insert.changed, 3);

  Held<ArrowSchema> parameters;
  AdbcQuery one(client, "select b from kept where a = ?");
  EXPECT_TRUE(call(adbc(), adbc().StatementPrepare, &one.statement));
  EXPECT_TRUE(call(adbc(), adbc().StatementGetParameterSchema, &one.statement, &parameters));
  ASSERT_EQ(parameters.n_children, 1);
  EXPECT_STREQ(parameters.children[0]->format, "i");
  Held<ArrowSchema> rowSchema;
  Held<ArrowArray> row;
  readBatch(client, "select 2", rowSchema, row);
  EXPECT_TRUE(one.bind(rowSchema, row));
  Held<ArrowArrayStream> found;
  EXPECT_TRUE(one.execute(&found));
  EXPECT_EQ(textOf(found), "<n2>");
  readBatch(client, "select 3", rowSchema, row);
  EXPECT_TRUE(one.bind(rowSchema, row));
  EXPECT_TRUE(one.execute()) << "nobody wants its rows";

  // The second row cannot be stored, so none is.
  Held<ArrowSchema> again;
  Held<ArrowArray> duplicates;
  readBatch(client, "select cast(7 - x as int), 'again' from system_range(3, 5)", again, duplicates);
  EXPECT_TRUE(insert.bind(again, duplicates));
  EXPECT_EQ(insert.execute().status, ADBC_STATUS_INTEGRITY);
  EXPECT_EQ(rowsOf(client, "select count(*) from kept"), "<3>");
}

TEST_F(AdbcOnH2, RefusesRowsThatCannotBeBound) {
  AdbcQuery query(client, "select ?");
  Held<ArrowSchema> schema;
  Held<ArrowArray> batch;
  readBatch(client, "select 1, 2", schema, batch);
  EXPECT_TRUE(query.bind(schema, batch));
  EXPECT_FALSE(query.execute()) << "two columns for one parameter";

  run("create table one (a int primary key)");
  run("insert into one values (0)");
  AdbcQuery failing(client, "insert into one values (?)");
  Held<ArrowSchema> storedSchema;
  Held<ArrowArray> stored;
  readBatch(client, "select 0", storedSchema, stored);
  EXPECT_TRUE(failing.bind(storedSchema, stored));
  Held<ArrowArrayStream> none;
  EXPECT_EQ(failing.execute(&none).status, ADBC_STATUS_INTEGRITY);
  EXPECT_EQ(failing.execute(&none).status, ADBC_STATUS_INVALID_STATE) << "its rows are gone";

  Held<ArrowSchema> outer;
  Held<ArrowArray> rows;
  readBatch(client, "select 1", outer, rows);
  Held<ArrowSchema> number;
  moveTo(number, *outer.children[0]);
  EXPECT_EQ(query.bind(number, rows).status, ADBC_STATUS_INVALID_ARGUMENT) << "no struct";
  EXPECT_EQ(rows.release, nullptr);
  EXPECT_EQ(query.bind(outer, rows).status, ADBC_STATUS_INVALID_ARGUMENT) << "released";
  EXPECT_EQ(call(adbc(), adbc().StatementBind, &query.statement, nullptr, nullptr).status,
            ADBC_STATUS_INVALID_ARGUMENT);
}

/// Rows of numbers, a batch each, which fail after some.
struct FailingRows {
  explicit FailingRows(AdbcClient& client) : query(client, "select x as a from system_range(1, 3)") {
    EXPECT_TRUE(query.set("adbc.jdbc.batch_rows", "1"));
    EXPECT_TRUE(query.execute(&rows));
    stream = rows;
    stream.private_data = this;
    stream.get_schema = [](ArrowArrayStream* self, ArrowSchema* out) {
      return of(self).rows.get_schema(&of(self).rows, out);
    };
    stream.get_next = [](ArrowArrayStream* self, ArrowArray* out) {
      return of(self).left-- == 0 ? EPROTO : of(self).rows.get_next(&of(self).rows, out);
    };
    stream.get_last_error = [](ArrowArrayStream* /*self*/) { return "lost the rest"; };
    stream.release = [](ArrowArrayStream* self) { self->release = nullptr; };
  }
  static FailingRows& of(ArrowArrayStream* stream) { return *static_cast<FailingRows*>(stream->private_data); }

  AdbcQuery query;
  Held<ArrowArrayStream> rows;
  ArrowArrayStream stream{};
  int left = 2;
};

TEST_F(AdbcOnH2, IngestsRowsInFourModes) {
  const AdbcStatusCode exists = ADBC_STATUS_ALREADY_EXISTS;
  const struct {
    const char* mode;
    AdbcStatusCode status;
    const char* rows;
  } steps[] = {
      {"append", ADBC_STATUS_NOT_FOUND, ""},
      {"create", ADBC_STATUS_OK, "<2>"},
      {"create", exists, "<2>"},
      {"append", ADBC_STATUS_OK, "<4>"},
      {"replace", ADBC_STATUS_OK, "<2>"},
      {"create_append", ADBC_STATUS_OK, "<4>"},
  };
  for (const auto& [mode, status, rows] : steps) {
    SCOPED_TRACE(mode);
    Held<ArrowSchema> schema;
    Held<ArrowArray> batch;
    readBatch(client, "select x as \"a\", 'it''s ' || x as \"b c\" from system_range(1, 2)", schema, batch);
    AdbcQuery ingest(client);
    EXPECT_TRUE(ingest.set("adbc.ingest.target_table", "ta\"ken"));
    EXPECT_TRUE(ingest.set("adbc.ingest.mode", (std::string("adbc.ingest.mode.") + mode).c_str()));
    EXPECT_TRUE(ingest.bind(schema, batch));
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
    Held<ArrowSchema> schema;
    Held<ArrowArray> batch;
    readBatch(client, "select 1", schema, batch);
    AdbcQuery ingest(client);
    EXPECT_TRUE(ingest.set("adbc.ingest.target_table", table));
    EXPECT_TRUE(ingest.set("adbc.ingest.temporary", "true"));
    EXPECT_TRUE(ingest.set("adbc.ingest.mode", (std::string("adbc.ingest.mode.") + mode).c_str()));
    EXPECT_TRUE(ingest.bind(schema, batch));
    const Outcome outcome = ingest.execute();
    const bool isThere = std::string(table) == "SHORT";
    EXPECT_EQ(outcome.status, isThere ? ADBC_STATUS_OK : ADBC_STATUS_NOT_FOUND) << mode << ": " << outcome;
  }
  EXPECT_EQ(rowsOf(client, "select count(*) from short"), "<2>");
}

TEST_F(AdbcOnH2, IngestsAllRowsOrNone) {
  run("create table whole (\"A\" bigint)");
  AdbcClient source(h2("source"));
  FailingRows failing(source);
  AdbcQuery ingest(client);
  EXPECT_TRUE(ingest.set("adbc.ingest.target_table", "WHOLE"));
  EXPECT_TRUE(ingest.set("adbc.ingest.mode", "adbc.ingest.mode.append"));
  EXPECT_EQ(ingest.execute().status, ADBC_STATUS_INVALID_STATE) << "no rows are bound";
  EXPECT_TRUE(ingest.bind(failing.stream));
  const Outcome outcome = ingest.execute();
  EXPECT_EQ(outcome.status, ADBC_STATUS_IO) << outcome;
  EXPECT_NE(outcome.text.find("lost the rest"), std::string::npos) << outcome;
  EXPECT_EQ(rowsOf(client, "select count(*) from whole"), "<0>");
}

}  // namespace
}  // namespace kivo::test
