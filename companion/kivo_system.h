#pragma once

/// The two functions of the companion system library that this library calls.
namespace VELMAR::Kivo {

/// Formatted print into at most @p size bytes, the terminating NUL included.
/// @return the length of the whole text, as snprintf gives it.
__attribute__((visibility("default"), format(printf, 3, 4))) int intl_snprintf(char* buffer, unsigned long size,
                                                                               const char* format, ...);

/// Copies at most @p size - 1 bytes of @p source and terminates them; with a size of 0 it writes nothing.
/// @return the length of @p source.
__attribute__((visibility("default"))) unsigned long intl_strlcpy(char* destination, const char* source,
                                                                  unsigned long size);

}  // namespace VELMAR::Kivo
