#pragma once

#include <exception>
#include <memory>
#include <string>

#include "adbc.h"
#include "fault.h"
#include "objects.h"

namespace kivo::adbc {

/// Runs the body of one of the driver's functions. What it throws becomes the error.
template <class Body>
AdbcStatusCode guarded(AdbcError* error, Body body) noexcept {
  try {
    body();
    return ADBC_STATUS_OK;
  } catch (const Fault& fault) {
    return report(fault, error);
  } catch (const std::exception&) {
    return report(Fault(ADBC_STATUS_INTERNAL, "out of memory"), error);
  }
}

template <class Handle>
struct ObjectOfHandle;
template <>
struct ObjectOfHandle<AdbcDatabase> {
  using Type = Database;
};
template <>
struct ObjectOfHandle<AdbcConnection> {
  using Type = Connection;
};
template <>
struct ObjectOfHandle<AdbcStatement> {
  using Type = Statement;
};
template <class Handle>
using ObjectFor = typename ObjectOfHandle<Handle>::Type;

/// The object of a handle, whose kind is named in the error if there is none.
template <class Handle>
ObjectFor<Handle>& at(Handle* handle) {
  const std::string kind = ObjectFor<Handle>::kKind;
  if (handle == nullptr) throw Fault(ADBC_STATUS_INVALID_ARGUMENT, "the " + kind + " is a null pointer");
  if (handle->private_data == nullptr) {
    throw Fault(ADBC_STATUS_INVALID_STATE, "the " + kind + " has not been created, or was released");
  }
  return *static_cast<ObjectFor<Handle>*>(handle->private_data);
}

/// Makes the object of a handle that has none.
template <class Handle>
void makeObject(Handle* handle) {
  const std::string kind = ObjectFor<Handle>::kKind;
  if (handle == nullptr) throw Fault(ADBC_STATUS_INVALID_ARGUMENT, "the " + kind + " is a null pointer");
  if (handle->private_data != nullptr) {
    throw Fault(ADBC_STATUS_INVALID_STATE, "the " + kind + " was already created");
  }
  handle->private_data = new ObjectFor<Handle>();
}

/// @return @p argument, which must not be null.
template <class Argument>
Argument* given(Argument* argument, const char* name) {
  if (argument == nullptr) throw Fault(ADBC_STATUS_INVALID_ARGUMENT, std::string(name) + " is a null pointer");
  return argument;
}

/// Releases what a handle points to, even if closing it fails.
template <class Handle>
AdbcStatusCode release(Handle* handle, AdbcError* error) {
  return guarded(error, [&] {
    const std::unique_ptr<ObjectFor<Handle>> object(&at(handle));
    handle->private_data = nullptr;
    object->close();
  });
}

/// Answers for a function that this driver does without.
template <class Handle>
AdbcStatusCode refuse(AdbcError* error, Handle* handle, const char* what) {
  return guarded(error, [&] {
    at(handle);
    throw Fault(ADBC_STATUS_NOT_IMPLEMENTED, std::string(what) + " is not supported");
  });
}

}  // namespace kivo::adbc
