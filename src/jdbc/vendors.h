#pragma once

#include <jni.h>

#include <string>
#include <vector>

class JdbcUtils;

namespace kivo::jdbc {

/// What a vendor's URL does with the instance name.
enum class Instance { ignored, optional, always, required, refused };

/// How a URL is put together; a null part means that the vendor's URL does not carry that input.
struct UrlForm {
  const char* prefix;
  const char* beforeServerInstance;  ///< between host and instance
  const char* beforePort;
  const char* beforeInstance;  ///< between port and instance
  const char* beforeDatabase;
  const char* suffix;
  Instance instance;
};

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
  UrlForm url;
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
