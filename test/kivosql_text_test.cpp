// What kivosql does with text, without a Java VM.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

#include "cli/commands.h"
#include "session/java.h"
#include "sql/csv_reader.h"
#include "sql/patterns.h"
#include "sql/statement_splitter.h"
#include "terminal/display.h"
#include "terminal/formats.h"
#include "terminal/messages.h"
#include "terminal/password.h"

namespace kivosql {
namespace {

using Texts = std::vector<std::string>;

TEST(Kivosql, CutsScriptsAtTheirStatements) {
  const struct {
    const char* script;
    Dialect dialect;
    Texts statements;  // "line:text", with "!" in front of one that never ends
  } rows[] = {
      {"", Dialect::standard, {}},
      {"\xEF\xBB\xBFselect 1;\n\xEF\xBB\xBF;\xEF\xBB\xBF/**/ж", Dialect::standard, {"1:select 1", "2:ж"}},
      {" ; ;-- no more\n; /* nothing */", Dialect::standard, {}},
      {"select 1;\n\nselect 2", Dialect::standard, {"1:select 1", "3:select 2"}},
      {"a 'x;''y;' b; c \"d;\"", Dialect::standard, {"1:a 'x;''y;' b", "1:c \"d;\""}},
      {"a -- it's; one\n b;c", Dialect::standard, {"1:a -- it's; one\n b", "2:c"}},
      {"/* ; /* ; */ ; */ a;b", Dialect::standard, {"1:a", "1:b"}},
      {"/* ; /* ; */ a;b", Dialect::backslash, {"1:a", "1:b"}},
      {"/* ; /* ; */ a;b 'x\\'; c", Dialect::flat, {"1:a", "1:b 'x\\'", "1:c"}},
      {"/*!50001 a /* ; */ ';' */; /*M! b */;/*!",
       Dialect::backslash,
       {"1:/*!50001 a /* ; */ ';' */", "1:/*M! b */", "1:/*!"}},
      {"/*!50001 a */;b", Dialect::standard, {"1:b"}},
      {"a $$ ;' $x$ $$; b $t$ $$; $t$;c $1; d$$e;f",
       Dialect::standard,
       {"1:a $$ ;' $x$ $$", "1:b $t$ $$; $t$", "1:c $1", "1:d$$e", "1:f"}},
      {R"(a 'x\'; b)", Dialect::standard, {R"(1:a 'x\')", "1:b"}},
      {R"(a 'x\'; b')", Dialect::backslash, {R"(1:a 'x\'; b')"}},
      {R"(a E'x\'; b'; c)", Dialect::standard, {R"(1:a E'x\'; b')", "1:c"}},
      {"a # ;'\n;b `;`", Dialect::backslash, {"1:a", "2:b `;`"}},
      {"a # b;c 5--1", Dialect::standard, {"1:a # b", "1:c 5"}},
      {"a 5--1;b", Dialect::backslash, {"1:a 5--1", "1:b"}},
      {"a;\nb 'c;", Dialect::standard, {"1:a", "!2:b 'c;"}},
      {"a;\n/* c;", Dialect::standard, {"1:a", "!2:/* c;"}},
      {"a $x$ ;", Dialect::standard, {"!1:a $x$ ;"}},
      {"ж 'ж;';\r\nж", Dialect::standard, {"1:ж 'ж;'", "2:ж"}},
  };
  for (const auto& row : rows) {
    Texts found;
    for (const Statement& statement : splitStatements(row.script, row.dialect)) {
      found.push_back((statement.complete ? "" : "!") + std::to_string(statement.line) + ':' +
                      std::string(statement.text));
    }
    EXPECT_EQ(found, row.statements) << row.script;
  }
}

TEST(Kivosql, RecognisesTransactionControl) {
  for (const char* sql : {"BEGIN", "begin isolation level serializable", "start transaction", "commit", "Rollback work",
                          "end", "abort", "commit and chain", "start /* * */ -- ;\n transaction"}) {
    EXPECT_TRUE(controlsTransaction(sql)) << sql;
  }
  for (const char* sql :
       {"rollback to savepoint s", "ROLLBACK/**/WORK TO s", "select 1", "begin declare x int", "start"}) {
    EXPECT_FALSE(controlsTransaction(sql)) << sql;
  }
}

TEST(Kivosql, ReadsCsv) {
  const struct {
    const char* csv;
    std::vector<Texts> records;  // quoted fields in [ ]
    const char* error;
  } rows[] = {
      {"", {}, ""},
      {"a,b\r\n1,2\r\n", {{"a", "b"}, {"1", "2"}}, ""},
      {"a,b\n1,\"\"", {{"a", "b"}, {"1", "[]"}}, ""},
      {"\xEF\xBB\xBF\"x\"\"y\",\"1\r\n2\",\n", {{"[x\"y]", "[1\r\n2]", ""}}, ""},
      {"ａ,\xEF\xBB\xBF", {{"ａ", "\xEF\xBB\xBF"}}, ""},
      {"\xEF\xBB", {{"\xEF\xBB"}}, ""},
      {"\n,\n", {{""}, {"", ""}}, ""},
      {"5\" disk,\xC3\xA9", {{"5\" disk", "\xC3\xA9"}}, ""},
      {"a\n\"b", {{"a"}}, "f: a quote in the record that begins on line 2 never ends"},
      {"a\n\"b\"c\nd", {{"a"}}, "f: line 2 has text after a closing quote, or a lone carriage return"},
      {"a\rb", {}, "f: line 1 has text after a closing quote, or a lone carriage return"},
  };
  for (const auto& row : rows) {
    std::istringstream input(row.csv);
    CsvReader reader("f", *input.rdbuf());
    std::vector<Texts> found;
    const auto failure = attempt([&] {
      for (std::vector<CsvField> record; reader.next(record);) {
        Texts& texts = found.emplace_back();
        for (const CsvField& field : record) texts.push_back(field.quoted ? '[' + field.text + ']' : field.text);
      }
    });
    EXPECT_EQ(found, row.records) << row.csv;
    EXPECT_STREQ(failure ? failure->what() : "", row.error) << row.csv;
  }
}

TEST(Kivosql, AcceptsOnlyTableNames) {
  for (const char* name : {"t", "s.t", R"("a b"."c;d")", "`x`.y", "таблица", "A$1#"}) EXPECT_TRUE(isTableName(name));
  for (const char* name : {"", "t;", "t where 1=1", "s.", ".t", "\"t", "\"\"", "t--", "(select 1)"}) {
    EXPECT_FALSE(isTableName(name)) << name;
  }
}

TEST(Kivosql, FindsPasswordsInUrls) {
  for (const char* url : {"jdbc:postgresql://h/d?user=a&password=b", "jdbc:h2:mem:x;PASSWORD=b", "jdbc:x://a:b@h/d",
                          "jdbc:oracle:thin:scott/tiger@h:1521:x", "jdbc:mariadb://h/d?keyStorePassword=b",
                          "jdbc:mysql://u:p/w@h/d", "//u:12@h:1/d", "jdbc:q:h:1:u:b", "jdbc:x://h/d?pass=b"}) {
    EXPECT_TRUE(holdsPassword(url)) << url;
  }
  for (const char* url :
       {"jdbc:postgresql://h:5432/d?user=a", "jdbc:oracle:thin:@//h:1521/x", "jdbc:h2:./a@b", "jdbc:q:h:1",
        "jdbc:x://h:1,[::1]:2/d?user=a@b", "jdbc:x://h;user=a:b@c", "jdbc:x://h/d?bypass=no"}) {
    EXPECT_FALSE(holdsPassword(url)) << url;
  }
}

TEST(Kivosql, MasksThePassword) {
  const struct {
    const char* secret;
    const char* text;
    const char* expected;
  } rows[] = {
      {"s3cr3t", "xs3cr3ts3cr3t: s3cr3", "x******: s3cr3"},
      {"a", "java.lang.Class: a, (a) and 'a'", "java.lang.Class: ***, (***) and '***'"},
      {"+a", "b+a", "b***"},
      {"", "nothing", "nothing"},
  };
  for (const auto& row : rows) {
    keepSecret(row.secret);
    EXPECT_EQ(masked(row.text), row.expected);
  }
  keepSecret("s3cr3t");
  EXPECT_EQ(faultLine("select s3cr3t 1", "ERROR\n  Position: 15"), "  select *** 1\n             ^");
  EXPECT_EQ(faultLine("select s3cr3t 1", "ERROR\n  Position: 11"), "");
  keepSecret("");
}

TEST(Kivosql, MakesOneParagraphOfJavasErrors) {
  EXPECT_EQ(readable("getConnection() -- the getConnection() failed.",
                     "Exception in thread \"main\" org.postgresql.util.PSQLException: FATAL: no such user\n"
                     "  Detail: none\n\tat a.b.C.d(C.java:1)\n\t... 12 more\n"
                     "Caused by: java.net.ConnectException: Connection refused\n\tat x.y\n"
                     "Caused by: java.net.ConnectException: Connection refused\n"),
            "getConnection() -- the getConnection() failed. PSQLException: FATAL: no such user Detail: none "
            "ConnectException: Connection refused");
  EXPECT_EQ(readable("", "java.lang.NullPointerException\n\tat a.b\n"), "NullPointerException");
  EXPECT_EQ(readable("", ""), "the operation failed, and Java gave no reason");
}

TEST(Kivosql, PointsAtTheFault) {
  const std::string wide(1000, 'x');
  const struct {
    std::string sql;
    const char* errorText;
    std::string expected;
  } rows[] = {
      {"select 'é日本🎉'\nfrom\tt wher x = 1\r\nlimit 5", "ERROR: at or near \"x\"\n  Position: 27 [42601/0]",
       "  from␉t wher x = 1\n              ^"},
      {"select '日本' frm 3", "ERROR: syntax error\n  Position: 17", "  select '日本' frm 3\n                    ^"},
      {"select (1", "ERROR: at end of input\n  Position: 10", "  select (1\n           ^"},
      {wide + "y" + wide, "ERROR: too long\n  Position: 1001",
       "  …" + wide.substr(0, 60) + "y" + wide.substr(0, 58) + "…\n  " + std::string(61, ' ') + "^"},
      {"select 1", "ERROR: of another statement\n  Position: 11", ""},
      {"select f(1)", "ERROR: in a function\n  Internal Query: selec\n  Internal Position: 1", ""},
      {"select 1", "Division by zero", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(faultLine(row.sql, row.errorText), row.expected) << row.errorText;
}

TEST(Kivosql, MeasuresTextAsATerminalShowsIt) {
  const struct {
    const char* text;
    std::size_t cells;
    const char* shortenedToFour;
  } rows[] = {
      {"", 0, ""},
      {"abcd", 4, "abcd"},
      {"abcde", 5, "abc…"},
      {"日本語", 6, "日…"},
      {"日本", 4, "日本"},
      {"e\u0301tudes", 6, "e\u0301tu…"},
      {"\u200B", 0, "\u200B"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(cellsOf(row.text), row.cells) << row.text;
    EXPECT_EQ(shortened(row.text, 4), row.shortenedToFour) << row.text;
  }
  EXPECT_EQ(abridged("日本語 duplicate key", 6), "日…key");
  EXPECT_EQ(abridged("abc日é", 5), "a…é");
  EXPECT_EQ(visible("a\tb\n\x1B[31m\x7F\u0085ж"), "a␉b␊␛[31m␡\uFFFDж");
}

/// What a format makes of a result.
std::string written(const std::string& format, const Style& style, const std::vector<Column>& columns,
                    const std::vector<Row>& rows) {
  std::FILE* file = std::tmpfile();
  for (const Format& candidate : kFormats) {
    if (format != candidate.name) continue;
    Output out(file);
    const auto writer = candidate.make(out, style);
    writer->begin(columns);
    for (const Row& row : rows) writer->row(row);
    writer->end(rows.size());
    out.flush();
  }
  std::string text(static_cast<std::size_t>(lseek(fileno(file), 0, SEEK_CUR)), '\0');
  EXPECT_EQ(pread(fileno(file), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  std::fclose(file);
  return text;
}

const std::vector<Column> kColumns = {{"n", 3, ""}, {"t|x", 12, ""}, {"n", 16, ""}};
const std::vector<Row> kRows = {
    {{"12345678901234567890.10", false}, {R"(a,"b"|<c>\)", false}, {"t", false}},
    {{"NaN", false}, {"", false}, {"", true}},
    {{"-1", false}, {"é\r\n\t日本🎉", false}, {"0", false}},
    {{"", true}, {"a\rb", false}, {"maybe", false}},
};

const struct {
  const char* format;
  const char* null;
  const char* expected;
  const char* ofNothing;
  bool crlf = false;
} kWritten[] = {
    {"table", "∅",
     "┌─────────────────────────┬────────────┬───────┐\n"
     "│                       n │ t|x        │ n     │\n"
     "├─────────────────────────┼────────────┼───────┤\n"
     "│ 12345678901234567890.10 │ a,\"b\"|<c>\\ │ t     │\n"
     "│                     NaN │            │ ∅     │\n"
     "│                      -1 │ é␍␊␉日本🎉 │ 0     │\n"
     "│                       ∅ │ a␍b        │ maybe │\n"
     "└─────────────────────────┴────────────┴───────┘\n"
     "(4 rows)\n",
     "┌───┬─────┬───┐\n│ n │ t|x │ n │\n├───┼─────┼───┤\n└───┴─────┴───┘\n(0 rows)\n"},
    {"csv", "",
     "n,t|x,n\n12345678901234567890.10,\"a,\"\"b\"\"|<c>\\\",t\nNaN,\"\",\n-1,\"é\r\n\t日本🎉\",0\n"
     ",\"a\rb\",maybe\n",
     "n,t|x,n\n"},
    {"csv", "NaN",
     "n,t|x,n\r\n12345678901234567890.10,\"a,\"\"b\"\"|<c>\\\",t\r\n\"NaN\",\"\",NaN\r\n-1,\"é\r\n\t日本🎉\",0\r\n"
     "NaN,\"a\rb\",maybe\r\n",
     "n,t|x,n\r\n", true},
    {"json", "",
     "[\n{\"n\":12345678901234567890.10,\"t|x\":\"a,\\\"b\\\"|<c>\\\\\",\"n_2\":true},\n"
     "{\"n\":\"NaN\",\"t|x\":\"\",\"n_2\":null},\n{\"n\":-1,\"t|x\":\"é\\r\\n\\t日本🎉\",\"n_2\":false},\n"
     "{\"n\":null,\"t|x\":\"a\\rb\",\"n_2\":\"maybe\"}\n]\n",
     "[\n\n]\n"},
    {"jsonl", "",
     "{\"n\":12345678901234567890.10,\"t|x\":\"a,\\\"b\\\"|<c>\\\\\",\"n_2\":true}\n"
     "{\"n\":\"NaN\",\"t|x\":\"\",\"n_2\":null}\n{\"n\":-1,\"t|x\":\"é\\r\\n\\t日本🎉\",\"n_2\":false}\n"
     "{\"n\":null,\"t|x\":\"a\\rb\",\"n_2\":\"maybe\"}\n",
     ""},
};

TEST(Kivosql, WritesEachFormat) {
  for (const auto& row : kWritten) {
    EXPECT_EQ(written(row.format, {row.null, 60, row.crlf}, kColumns, kRows), row.expected) << row.format;
    EXPECT_EQ(written(row.format, {row.null, 60, row.crlf}, kColumns, {}), row.ofNothing) << row.format;
  }
}

TEST(Kivosql, KeepsLargeCellsAndLateOnes) {
  const std::string large(100000, 'x');
  for (const char* format : {"csv", "json", "jsonl"}) {
    EXPECT_NE(written(format, {"", 60}, {{"a", 12, ""}}, {{{large, false}}}).find(large), std::string::npos);
  }
  EXPECT_EQ(written("table", {"", 4}, {{"a", 12, ""}}, {{{large, false}}}),
            "┌──────┐\n│ a    │\n├──────┤\n│ xxx… │\n└──────┘\n(1 row)\n");
  // Wider than the rows that the widths were taken from: it stands out, and nothing of it is lost.
  std::vector<Row> rows(1500, Row{{"x", false}});
  rows.back()[0].text = "wide";
  EXPECT_NE(written("table", {"", 60}, {{"a", 12, ""}}, rows).find("│ x │\n│ wide │\n└───┘\n(1,500 rows)"),
            std::string::npos);
}

}  // namespace
}  // namespace kivosql
