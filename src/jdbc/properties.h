#pragma once

#include <jni.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "jni/method.h"

namespace kivo::jdbc {

/// One property of a DataSource: its setter and the text or number for it.
struct Property {
  Property(const char* name, std::string value) : setter{name, "(Ljava/lang/String;)V"}, text(std::move(value)) {}
  Property(const char* name, jint value) : setter{name, "(I)V"}, number(value), isNumber(true) {}

  JavaMethod setter;
  jmethodID method = nullptr;
  std::string text;
  jint number = 0;
  bool isNumber = false;
};

/// Properties that are set together: all setters are looked up before the first is called. A false result may leave a
/// Java exception pending.
class Properties {
 public:
  Properties(JNIEnv* owner, std::initializer_list<Property> list) : env(owner), properties(list) {}

  void add(Property property) { properties.push_back(std::move(property)); }

  bool find(jclass dataSourceClass);

  /// Stops at the first setter that throws: no Java call may follow with its exception pending.
  bool set(jobject dataSource) const;

 private:
  bool set(jobject dataSource, const Property& property) const;

  JNIEnv* env;
  std::vector<Property> properties;
};

bool findAndSet(Properties properties, jclass dataSourceClass, jobject dataSource);

}  // namespace kivo::jdbc
