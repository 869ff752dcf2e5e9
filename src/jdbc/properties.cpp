#include "jdbc/properties.h"

#include <algorithm>

#include "jni/pending.h"
#include "jni/text.h"

namespace kivo::jdbc {

bool Properties::find(jclass dataSourceClass) {
  return std::all_of(properties.begin(), properties.end(), [this, dataSourceClass](Property& property) {
    property.method = findMethod(env, dataSourceClass, property.setter);
    return property.method != nullptr;
  });
}

bool Properties::set(jobject dataSource) const {
  return std::all_of(properties.begin(), properties.end(),
                     [this, dataSource](const Property& property) { return set(dataSource, property); });
}

bool Properties::set(jobject dataSource, const Property& property) const {
  if (property.isNumber) {
    env->CallVoidMethod(dataSource, property.method, property.number);
    return !isPending(env);
  }
  const LocalRef<jstring> text = newJavaText(env, property.text);
  if (!text) return false;
  env->CallVoidMethod(dataSource, property.method, text.get());
  return !isPending(env);
}

bool findAndSet(Properties properties, jclass dataSourceClass, jobject dataSource) {
  return properties.find(dataSourceClass) && properties.set(dataSource);
}

}  // namespace kivo::jdbc
