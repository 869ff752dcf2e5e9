// A result as a stream of Arrow batches: columns with types, read in place. A consumer such as DuckDB would be handed
// the stream instead.
//
//   arrow_example
//
// KIVO_JVM and KIVO_CLASSPATH name the Java VM, and the companion jar with the database's driver.

#include <cstdint>
#include <iostream>
#include <string>

#include "KivoArrow.h"
#include "example_host.h"
#include "jdbcWrapper.h"

namespace {

using example::require;

constexpr const char* kQuery =
    "select x as id, cast(x * 1.5 as double precision) as price from system_range(1, 100000)";

void printColumns(ArrowArrayStream& stream) {
  ArrowSchema schema;
  require(stream.get_schema(&stream, &schema) == 0, "describing the columns");
  for (std::int64_t column = 0; column < schema.n_children; ++column) {
    std::cout << schema.children[column]->name << ": " << schema.children[column]->format << '\n';
  }
  schema.release(&schema);
}

/// Adds up the second column, of doubles without nulls.
double sumOf(const ArrowArray& batch) {
  const ArrowArray& prices = *batch.children[1];
  const auto* values = static_cast<const double*>(prices.buffers[1]) + prices.offset;
  double sum = 0;
  for (std::int64_t row = 0; row < prices.length; ++row) sum += values[row];
  return sum;
}

}  // namespace

int main() {
  example::startJavaVm();
  jdbcWrapper database;
  std::string url = "jdbc:h2:mem:arrow";
  require(database.setUrl("", "", "", "", "", url) && database.getConnection("", "") && database.getStatement() &&
              database.executeQuery(kQuery, 0),
          database.errorMessage);
  ArrowArrayStream stream;
  std::string error;
  require(makeArrowStream(database, stream, error), error);
  printColumns(stream);

  std::int64_t rows = 0;
  double sum = 0;
  ArrowArray batch;
  while (stream.get_next(&stream, &batch) == 0 && batch.release != nullptr) {
    rows += batch.length;
    sum += sumOf(batch);
    batch.release(&batch);
  }
  const char* failure = stream.get_last_error(&stream);
  require(failure == nullptr, failure == nullptr ? "" : failure);
  stream.release(&stream);
  std::cout << rows << " rows, " << sum << " in all" << std::endl;
  database.closeConnection();
  return 0;
}
