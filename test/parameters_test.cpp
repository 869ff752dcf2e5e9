// Parameters bound in Arrow's layout, on real databases: what a typed result gives goes into another table as it is.

#include "arrow/parameters.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "KivoArrow.h"
#include "arrow_text.h"
#include "wrapper_on_databases.h"

namespace kivo::test {
namespace {

/// The jar's PreparedQuery, as native code drives it.
class Query {
 public:
  Query(const jdbcWrapper& wrapper, const std::string& sql) : env_(wrapper.env) {
    type_ = env_->FindClass("com/ulvanejdbc/arrow/PreparedQuery");
    const jmethodID of =
        env_->GetStaticMethodID(type_, "of", "(Lcom/ulvanejdbc/jdbcUtilities;)Lcom/ulvanejdbc/arrow/PreparedQuery;");
    query_ = env_->CallStaticObjectMethod(type_, of, wrapper.utilitiesObject);
    const jstring text = env_->NewStringUTF(sql.c_str());
    EXPECT_EQ(env_->CallBooleanMethod(query_, method("prepare", "(Ljava/lang/String;Z)Z"), text, JNI_FALSE), JNI_TRUE)
        << failure();
    env_->DeleteLocalRef(text);
  }
  ~Query() {
    EXPECT_EQ(env_->CallBooleanMethod(query_, method("close", "()Z")), JNI_TRUE) << failure();
    env_->DeleteLocalRef(query_);
    env_->DeleteLocalRef(type_);
  }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  /// @return what is wrong with the values; empty when nothing is.
  std::string bind(const ArrowSchema& schema, const ArrowArray& batch) {
    std::string fault;
    return bindParameters(env_, query_, schema, batch, fault) ? "" : fault;
  }

  long long updateAll() { return env_->CallLongMethod(query_, method("updateAll", "()J")); }

  /// Runs the query with a bound row, whose rows the wrapper's stream then reads.
  bool query(int row) { return env_->CallBooleanMethod(query_, method("query", "(I)Z"), row) == JNI_TRUE; }

  std::string failure() {
    auto* const text = static_cast<jstring>(env_->CallObjectMethod(query_, method("failure", "()Ljava/lang/String;")));
    if (text == nullptr) return "";
    const char* const characters = env_->GetStringUTFChars(text, nullptr);
    std::string copy = characters;
    env_->ReleaseStringUTFChars(text, characters);
    env_->DeleteLocalRef(text);
    return copy;
  }

 private:
  jmethodID method(const char* name, const char* signature) { return env_->GetMethodID(type_, name, signature); }

  JNIEnv* env_;
  jclass type_;
  jobject query_;
};

/// A batch of a result, whose memory goes with it.
struct Batch {
  ArrowSchema schema{};
  ArrowArray rows{};

  /// Of the open result.
  explicit Batch(jdbcWrapper& wrapper) {
    ArrowArrayStream stream{};
    std::string error;
    EXPECT_TRUE(makeArrowStream(wrapper, stream, error)) << error;
    if (stream.release == nullptr) return;
    EXPECT_EQ(stream.get_schema(&stream, &schema), 0);
    if (stream.get_next(&stream, &rows) != 0) failure = stream.get_last_error(&stream);
    stream.release(&stream);
  }
  ~Batch() {
    if (schema.release != nullptr) schema.release(&schema);
    if (rows.release != nullptr) rows.release(&rows);
  }
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  std::string failure;
};

using Parameters = Databases;

/// Types whose text, or whose date, the database does not take for one of its values.
bool refusesItsOwn(const std::string& type) { return type == "time(9) with time zone" || type == "year"; }

TEST_P(Parameters, TypedValuesGoIntoAnotherTableAsTheyAre) {
  int rows = 0;
  for (const char* table : {"dates.tsv", "values.tsv"}) {
    std::ifstream file(std::string(KIVO_GOLDEN) + "/" + table);
    for (std::string line; std::getline(file, line);) {
      std::istringstream fields(line);
      std::string word;
      std::string type;
      std::string literal;
      std::getline(fields, word, '\t');
      std::getline(fields, type, '\t');
      std::getline(fields, literal, '\t');
      if (word != database.word || refusesItsOwn(type)) continue;
      SCOPED_TRACE(line);
      recreate("source", "v " + type);
      recreate("target", "v " + type);
      update("insert into source values (" + literal + ")");
      query("select v from source");
      const Batch batch(wrapper);
      if (!batch.failure.empty()) continue;  // Arrow has no number for it.
      Query insert(wrapper, "insert into target values (?)");
      ASSERT_EQ(insert.bind(batch.schema, batch.rows), "");
      EXPECT_EQ(insert.updateAll(), 1) << insert.failure();
      EXPECT_EQ(only("select v from target"), only("select v from source"))
          << "as " << batch.schema.children[0]->format;
      ++rows;
    }
  }
  EXPECT_GT(rows, 10);
}

TEST_P(Parameters, ABatchIsStoredAsAWholeAndItsFailedRowNamed) {
  recreate("source", "id int, name varchar(9)");
  recreate("target", "id int not null primary key, name varchar(9)");
  for (const char* row : {"1, 'a'", "2, null", "3, 'c'", "3, 'd'", "5, 'e'"}) {
    update(std::string("insert into source values (") + row + ")");
  }
  query("select id, name from source order by id");
  const Batch batch(wrapper);
  ASSERT_EQ(batch.rows.length, 5);
  Query insert(wrapper, "insert into target (id, name) values (?, ?)");
  ASSERT_EQ(insert.bind(batch.schema, batch.rows), "");
  EXPECT_EQ(insert.updateAll(), -2);
  EXPECT_EQ(insert.failure().find("row 4"), 0U) << insert.failure();
  EXPECT_EQ(othersOnly("select count(*) from target"), "0");

  ArrowArray firstThree = batch.rows;
  firstThree.length = 3;
  ASSERT_EQ(insert.bind(batch.schema, firstThree), "");
  EXPECT_EQ(insert.updateAll(), 3) << insert.failure();
  EXPECT_EQ(othersOnly("select count(*) from target"), "3");
  EXPECT_EQ(only("select count(*) from target where name is null"), "1");
}

TEST_P(Parameters, AQueryFindsTheBoundRow) {
  recreate("source", "id int, name varchar(9)");
  for (const char* row : {"1, 'a'", "2, 'b'", "3, 'c'"}) {
    update(std::string("insert into source values (") + row + ")");
  }
  query("select id from source order by id");
  const Batch ids(wrapper);
  Query select(wrapper, "select name from source where id = ?");
  ASSERT_EQ(select.bind(ids.schema, ids.rows), "");
  for (int row : {2, 0}) {
    ASSERT_TRUE(select.query(row)) << select.failure();
    const Batch found(wrapper);
    ASSERT_EQ(found.rows.length, 1);
    EXPECT_EQ(ArrowText(*found.schema.children[0], *found.rows.children[0]).at(0), row == 2 ? "c" : "a");
  }
}

INSTANTIATE_TEST_SUITE_P(OnAll, Parameters, testing::Range(0, 6), nameOf);

}  // namespace
}  // namespace kivo::test
