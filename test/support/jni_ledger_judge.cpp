#include <algorithm>
#include <cstring>
#include <iterator>

#include "jni_ledger.h"

namespace kivo::test {
namespace {

const char* asText(const void* pointer) { return static_cast<const char*>(pointer); }

/// No byte of modified UTF-8 is F0 or more.
bool isForeignByte(char byte) { return static_cast<unsigned char>(byte) >= 0xF0; }

/// The last letter of one type in a signature.
const char* endOfType(const char* type) {
  while (*type == '[') ++type;
  return *type == 'L' ? std::strchr(type, ';') : type;
}

const char* judgeText(const char* text) {
  if (text == nullptr) return "null text";
  return std::any_of(text, text + std::strlen(text), isForeignByte) ? "bad text" : nullptr;
}

/// The type of call that a method is made for, in the letters of Rule::call.
std::string callType(const std::string& name, const std::string& signature, const std::string& lookup) {
  if (name == "<init>") return "C";
  const char result = signature[signature.find(')') + 1];
  return lookup + (result == '[' ? 'L' : result);
}

}  // namespace

const char* JniLedger::judge(const Call& call) const {
  if (!call.rule.whilePending && call.thread.real->ExceptionCheck() == JNI_TRUE) return "exception pending";
  for (size_t i = 0; call.rule.arguments[i] != '\0'; ++i) {
    const char* fault = judgeArgument(call, call.rule.arguments[i], call.arguments[i]);
    if (fault != nullptr) return fault;
  }
  return nullptr;
}

const char* JniLedger::judgeArgument(const Call& call, char kind, const void* argument) const {
  if (kind == 'r' && argument == nullptr) return "null reference";
  if (kind == 'p' && call.thread.frames.empty()) return "no frame";
  if (kind == 'r' || kind == 'o' || kind == 'p') return judgeReference(call, argument);
  if (kind == 'd' || kind == 'g') return judgeDeletion(call, kind, argument);
  if (kind == 'm') return judgeMethod(call, argument);
  if (kind == 't') return judgeText(asText(argument));
  if (kind == 'c') return judgeCharacters(call, argument);
  if (kind != 'v') return nullptr;
  return judgeJavaArguments(call, static_cast<std::decay_t<va_list>>(const_cast<void*>(argument)));
}

const char* JniLedger::judgeReference(const Call& call, const void* reference) const {
  if (reference == nullptr || globals_.count(reference) != 0) return nullptr;
  const auto local = locals_.find(reference);
  if (local == locals_.end()) return "dead reference";
  return local->second == &call.thread ? nullptr : "reference of another thread";
}

const char* JniLedger::judgeDeletion(const Call& call, char kind, const void* reference) const {
  if (const char* fault = judgeReference(call, reference)) return fault;
  if (reference == nullptr) return nullptr;
  const bool isGlobal = globals_.count(reference) != 0;
  if (kind == 'd') return isGlobal ? "global reference deleted as local" : nullptr;
  return isGlobal ? nullptr : "local reference deleted as global";
}

const char* JniLedger::judgeMethod(const Call& call, const void* method) const {
  if (method == nullptr) return "null method";
  const auto known = methods_.find(method);
  if (known == methods_.end()) return "unknown method";
  return known->second.call == call.rule.call ? nullptr : "wrong call";
}

const char* JniLedger::judgeCharacters(const Call& call, const void* characters) const {
  const auto held = characters_.find(characters);
  return held != characters_.end() && held->second == call.arguments[0] ? nullptr : "wrong characters";
}

/// Only the method's signature tells which of the arguments are references. Those may be null.
const char* JniLedger::judgeJavaArguments(const Call& call, va_list arguments) const {
  va_list list;
  va_copy(list, arguments);
  const char* fault = nullptr;
  const char* type = methods_.at(call.arguments[1]).signature.c_str() + 1;
  for (; *type != ')' && fault == nullptr; type = endOfType(type) + 1) {
    if (*type == 'L' || *type == '[') {
      fault = judgeReference(call, va_arg(list, jobject));
    } else if (*type == 'J') {
      static_cast<void>(va_arg(list, jlong));
    } else if (*type == 'F' || *type == 'D') {
      static_cast<void>(va_arg(list, jdouble));
    } else {
      static_cast<void>(va_arg(list, jint));
    }
  }
  va_end(list);
  return fault;
}

/// Strikes out what an admitted call gives back, before the VM can hand the same value out again.
void JniLedger::settle(const Call& call) {
  const void* first = call.arguments[0];
  const std::string_view kinds = call.rule.arguments;
  if (kinds == "d" && locals_.erase(first) != 0) --call.thread.locals;
  if (kinds == "g") globals_.erase(first);
  if (kinds.find('c') != std::string_view::npos) characters_.erase(call.arguments[1]);
  if (kinds == "p") endFrame(call.thread);
}

/// Notes which local references do not belong to the frame that begins.
void JniLedger::beginFrame(Thread& thread) {
  const std::lock_guard<std::mutex> lock(mutex_);
  thread.frames.emplace_back();
  for (const auto& [local, owner] : locals_) {
    if (owner == &thread) thread.frames.back().insert(local);
  }
}

/// Strikes out the local references made since the thread's innermost frame began.
void JniLedger::endFrame(Thread& thread) {
  for (auto local = locals_.begin(); local != locals_.end();) {
    const bool ends = local->second == &thread && thread.frames.back().count(local->first) == 0;
    local = ends ? locals_.erase(local) : std::next(local);
    if (ends) --thread.locals;
  }
  thread.frames.pop_back();
}

/// Writes down what the VM handed out.
void JniLedger::adopt(const Call& call, const void* result) {
  const std::array<const void*, 4>& arguments = call.arguments;
  if (call.rule.result == 'l') {
    locals_[result] = &call.thread;
    maxLocals_ = std::max(maxLocals_, ++call.thread.locals);
  } else if (call.rule.result == 'g') {
    globals_.insert(result);
  } else if (call.rule.result == 'c') {
    characters_[result] = arguments[0];
  } else if (call.rule.result == 'm') {
    Method& method = methods_[result];
    method.name = asText(arguments[1]);
    method.signature = asText(arguments[2]);
    method.call = callType(method.name, method.signature, call.rule.call);
  }
}

/// The function and what it works on, as the trace and the violations show it.
std::string JniLedger::describe(const Call& call) const {
  std::string text = call.rule.name;
  for (size_t i = 0; call.rule.arguments[i] != '\0'; ++i) {
    const char kind = call.rule.arguments[i];
    const auto method = kind == 'm' ? methods_.find(call.arguments[i]) : methods_.end();
    if (method != methods_.end()) text += ' ' + method->second.name;
    if (kind == 't' && call.arguments[i] != nullptr) text += std::string(" ") + asText(call.arguments[i]);
  }
  return text;
}

void JniLedger::violate(const std::string& what) {
  const std::lock_guard<std::mutex> lock(mutex_);
  violations_.push_back(what);
}

}  // namespace kivo::test
