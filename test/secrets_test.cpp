// A password must not come out of anything that fails: not on standard output or error, not in an error text.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "jni_ledger.h"
#include "sql_client.h"
#include "stderr_capture.h"
#include "test_server.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

const std::string kSecret = "s3cr3t-M4rker";

struct Target {
  std::string url;
  std::string user = "u";
  std::string password = kSecret;
};

class Secrets : public testing::TestWithParam<const char*> {
 protected:
  /// Connects and runs a wrong statement. @return the error text.
  static std::string use(const Target& target) {
    const auto client = newClient(GetParam());
    if (client->connect(target.url, target.user, target.password)) client->query("no statement");
    std::string error = client->error();
    client->close();
    return error;
  }

  /// @param body does something that fails, and returns the error that it was given.
  template <class Body>
  static void expectKept(Body body) {
    std::string error;
    std::string output;
    {
      const StderrCapture captured;
      std::fflush(stdout);
      const int saved = dup(STDOUT_FILENO);
      dup2(STDERR_FILENO, STDOUT_FILENO);
      error = body();
      std::fflush(stdout);
      dup2(saved, STDOUT_FILENO);
      close(saved);
      output = captured.text();
    }
    EXPECT_NE(error + output, "") << "nothing failed";
    EXPECT_EQ((error + output).find(kSecret), std::string::npos) << error << output;
    if (GetParam() == std::string("jdbcWrapper")) {
      EXPECT_EQ(output, "");
    }
  }
};

TEST_P(Secrets, StayInsideWhenDatabasesRefuse) {
  const TestServer server("postgres");
  const std::string postgres = "jdbc:postgresql://" + server.host + ':' + server.port + '/' + server.database;
  const Target rows[] = {
      {postgres, server.user},
      {postgres + "?user=" + server.user + "&password=" + kSecret, "", ""},
      {"jdbc:postgresql://127.0.0.1:1/d?password=" + kSecret},
      {"jdbc:h2:mem:x;USER=u;PASSWORD=" + kSecret + ";NO_SUCH_SETTING=1", "", ""},
      {"jdbc:no-such-driver://u:" + kSecret + "@h/d"},
      {"jdbc:scott/" + kSecret + "@h:1521:S"},
      {"scott/" + kSecret + "@h:1521:S"},
      {"jdbc::" + kSecret},
      {kSecret},
  };
  for (const Target& row : rows) {
    SCOPED_TRACE(row.url);
    expectKept([&row] { return use(row); });
  }
}

TEST_P(Secrets, StayInsideWhicheverCallFails) {
  JniLedger ledger;
  for (const char* url : {"oracle:thin:u/?@h:1:S", "microsoft:sqlserver://h:1;databaseName=d;password=?",
                          "velmar:Tds:h:1/d?password=?", "netezza://h:1/d?password=?", "db2://h:1/d:password=?;",
                          "teradata://h/DBS_PORT=1,DATABASE=d,PASSWORD=?", "kx:h:1:u:?", "h2:mem:x;PASSWORD=?"}) {
    SCOPED_TRACE(url);
    std::string whole = std::string("jdbc:") + url;
    whole.replace(whole.rfind('?'), 1, kSecret);
    for (const Fault fault : {Fault::kOutOfMemory, Fault::kNull, Fault::kThrowBefore, Fault::kThrowAfter}) {
      expectKept([&] {
        std::string errors;
        sweepFaults(ledger, fault, [&] { errors += use({whole}) + '\n'; });
        return errors;
      });
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Each, Secrets, testing::Values("JdbcUtils", "jdbcWrapper", "JavaConnectionUtils"),
                         [](const auto& instance) { return std::string(instance.param); });

}  // namespace
}  // namespace kivo::test
