#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "adbc.h"
#include "handles.h"

namespace kivo::adbc {

/// The getters and setters of options, which are text in the objects.
template <class Handle>
struct Options {
  static AdbcStatusCode set(Handle* handle, const char* name, const char* value, AdbcError* error) {
    return guarded(error, [&] { at(handle).setOption(given(name, "the option's name"), value); });
  }

  static AdbcStatusCode setBytes(Handle* handle, const char* name, const std::uint8_t* value, std::size_t size,
                                 AdbcError* error) {
    return guarded(error, [&] {
      if (size > 0) given(value, "the option's value");
      const std::string text(reinterpret_cast<const char*>(value), size);
      if (text.find('\0') != std::string::npos)
        throw Fault(ADBC_STATUS_INVALID_ARGUMENT, "an option's value has a NUL");
      at(handle).setOption(given(name, "the option's name"), text.c_str());
    });
  }

  static AdbcStatusCode setInt(Handle* handle, const char* name, std::int64_t value, AdbcError* error) {
    return guarded(error,
                   [&] { at(handle).setOption(given(name, "the option's name"), std::to_string(value).c_str()); });
  }

  static AdbcStatusCode setDouble(Handle* handle, const char* name, double value, AdbcError* error) {
    return guarded(error, [&] {
      char text[32];
      std::snprintf(text, sizeof text, "%.17g", value);
      at(handle).setOption(given(name, "the option's name"), text);
    });
  }

  /// @param terminated whether a NUL follows
  static AdbcStatusCode copy(Handle* handle, const char* name, char* value, std::size_t* size, bool terminated,
                             AdbcError* error) {
    return guarded(error, [&] {
      const std::string text = at(handle).option(given(name, "the option's name"));
      const std::size_t needed = text.size() + (terminated ? 1 : 0);
      const std::size_t room = *given(size, "the size");
      *size = needed;
      if (needed <= room && needed > 0) std::memcpy(given(value, "the buffer"), text.c_str(), needed);
    });
  }

  static AdbcStatusCode get(Handle* handle, const char* name, char* value, std::size_t* size, AdbcError* error) {
    return copy(handle, name, value, size, true, error);
  }

  static AdbcStatusCode getBytes(Handle* handle, const char* name, std::uint8_t* value, std::size_t* size,
                                 AdbcError* error) {
    return copy(handle, name, reinterpret_cast<char*>(value), size, false, error);
  }

  /// @param read strtoll or strtod
  template <class Number, class Read>
  static AdbcStatusCode getNumber(Handle* handle, const char* name, Number* value, AdbcError* error, Read read) {
    return guarded(error, [&] {
      const std::string text = at(handle).option(given(name, "the option's name"));
      char* end = nullptr;
      const Number number = read(text.c_str(), &end);
      if (text.empty() || *end != '\0') {
        throw Fault(ADBC_STATUS_INVALID_ARGUMENT, std::string(name) + " is not a number");
      }
      *given(value, "the place for the value") = number;
    });
  }

  static AdbcStatusCode getInt(Handle* handle, const char* name, std::int64_t* value, AdbcError* error) {
    return getNumber(handle, name, value, error, [](const char* text, char** end) { return strtoll(text, end, 10); });
  }

  static AdbcStatusCode getDouble(Handle* handle, const char* name, double* value, AdbcError* error) {
    return getNumber(handle, name, value, error, [](const char* text, char** end) { return strtod(text, end); });
  }
};

}  // namespace kivo::adbc
