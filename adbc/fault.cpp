#include "fault.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <sstream>
#include <utility>
#include <vector>

namespace kivo::adbc {

namespace {

/// What an error of revision 1.1.0 has beyond its text.
struct Details {
  std::vector<std::pair<std::string, std::string>> pairs;
};

std::unique_ptr<Details> detailsOf(const Fault& fault) {
  auto details = std::make_unique<Details>();
  if (fault.vendorCode != 0) details->pairs.emplace_back("vendor_code", std::to_string(fault.vendorCode));
  std::istringstream lines(fault.message);
  for (std::string line; std::getline(lines, line);) details->pairs.emplace_back("exception", line);
  return details;
}

bool hasDetails(const AdbcError& error) { return error.vendor_code == ADBC_ERROR_VENDOR_CODE_PRIVATE_DATA; }

void releaseError(AdbcError* error) {
  std::free(error->message);
  error->message = nullptr;
  error->release = nullptr;
  if (!hasDetails(*error)) return;
  delete static_cast<Details*>(error->private_data);
  error->private_data = nullptr;
}

}  // namespace

AdbcStatusCode report(const Fault& fault, AdbcError* error) noexcept {
  if (error == nullptr) return fault.status;
  if (error->release != nullptr) error->release(error);
  // Without memory for a text, the status has to do.
  error->message = strdup(fault.message.c_str());
  std::copy(std::begin(fault.sqlState), std::end(fault.sqlState), error->sqlstate);
  error->release = releaseError;
  if (!hasDetails(*error)) {
    // The one code that would promise details.
    error->vendor_code = fault.vendorCode == ADBC_ERROR_VENDOR_CODE_PRIVATE_DATA ? 0 : fault.vendorCode;
    return fault.status;
  }
  error->private_data = nullptr;
  try {
    error->private_data = detailsOf(fault).release();
  } catch (const std::exception&) {
    return fault.status;
  }
  return fault.status;
}

int errorDetailCount(const AdbcError* error) {
  if (error == nullptr || !hasDetails(*error) || error->release != releaseError || error->private_data == nullptr) {
    return 0;
  }
  return static_cast<int>(static_cast<const Details*>(error->private_data)->pairs.size());
}

AdbcErrorDetail errorDetail(const AdbcError* error, int index) {
  if (index < 0 || index >= errorDetailCount(error)) return {nullptr, nullptr, 0};
  const auto& [key, value] = static_cast<const Details*>(error->private_data)->pairs[static_cast<std::size_t>(index)];
  return {key.c_str(), reinterpret_cast<const std::uint8_t*>(value.data()), value.size()};
}

}  // namespace kivo::adbc
