#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "adbc.h"

namespace kivo::adbc {

/// Why a call fails. Thrown within the driver; at its functions it becomes an AdbcError.
struct Fault {
  Fault(AdbcStatusCode code, std::string text) : status(code), message(std::move(text)) {}

  AdbcStatusCode status;
  std::string message;  ///< in UTF-8, a line for each exception of the chain
  char sqlState[5] = {};
  std::int32_t vendorCode = 0;
};

/// Fills in an error, which may be null and may hold an earlier one. @return the fault's status
AdbcStatusCode report(const Fault& fault, AdbcError* error) noexcept;

/// The driver's functions of these names.
int errorDetailCount(const AdbcError* error);
AdbcErrorDetail errorDetail(const AdbcError* error, int index);

}  // namespace kivo::adbc
