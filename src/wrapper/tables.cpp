#include "jdbcWrapper.h"
#include "wrapper/calls.h"

using namespace kivo;
using namespace kivo::wrapper;

namespace {

/// Appends the name at @p index. @return false with the error recorded.
bool appendName(jdbcWrapper& wrapper, jobjectArray names, jsize index, std::vector<std::string>& tables) {
  const LocalRef<jstring> name(wrapper.env, wrapper.env->GetObjectArrayElement(names, index));
  if (failEscaped(wrapper)) return false;
  if (!name) {
    fail(wrapper, "the table name at index " + std::to_string(index) + " is null");
    return false;
  }
  const TextCharacters characters(wrapper.env, name.get());
  if (characters.get() == nullptr) {
    failOutOfMemory(wrapper);
    return false;
  }
  tables.emplace_back(characters.get());
  return true;
}

}  // namespace

bool jdbcWrapper::getTables(std::vector<std::string>& tables) {
  const Operation operation(*this);
  LocalRef<jobject> result(env);
  if (!operation.callObject(&jdbcWrapper::getTablesMethod, result)) return false;
  if (!result) {
    operation.takeJavaError();
    return false;
  }
  auto* const names = static_cast<jobjectArray>(result.get());
  const jsize count = env->GetArrayLength(names);
  tables.clear();
  for (jsize index = 0; index < count; ++index) {
    if (appendName(*this, names, index, tables)) continue;
    // A listing with a hole would pass for the whole.
    tables.clear();
    return false;
  }
  return true;
}
