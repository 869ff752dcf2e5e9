#pragma once

#include <jni.h>

#include <string>
#include <vector>

class JdbcUtils;

namespace kivo::jdbc {

using Configuration = bool (JdbcUtils::*)(jclass, jobject, std::string&);
using Listing = bool (JdbcUtils::*)(std::vector<std::string>&);

/// Which tables a listing through DatabaseMetaData leaves out, and how it names the others.
struct TableRules {
  std::vector<const char*> systemSchemas;
  std::vector<const char*> systemTables;
  bool qualifiedBySchema;
};

/// Everything that differs from vendor to vendor.
struct Vendor {
  const char* word;  ///< database type word of setUrl()
  const char* key;   ///< JdbcUtils::vendor
  /// "{name}" stands for that input, copied unchanged. A part in brackets is left out when its input is empty.
  const char* urlTemplate;
  const char* noInstance;  ///< refusal of an empty instance, before the URL is built; null: none
  const char* anInstance;  ///< refusal of an instance, after the URL is built; null: none
  const char* dataSource;  ///< class, null for a vendor that cannot connect
  Configuration configure;
  const char* userSetter;
  const char* passwordSetter;
  jint fetchSize;   ///< rows, 0: left to the driver
  Listing listing;  ///< null: DatabaseMetaData
  TableRules tables;
};

/// @return the vendor of a database type word, null for an unknown one.
const Vendor* vendorOfWord(const std::string& word);

/// @return the vendor of a key; for an unknown one a row without a DataSource and with the common settings.
const Vendor& vendorOfKey(const std::string& key);

}  // namespace kivo::jdbc
