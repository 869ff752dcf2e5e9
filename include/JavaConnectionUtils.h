#pragma once

#include <jni.h>

#include <string>
#include <vector>

#include "kivo_export.h"

/// Drives one instance of a Java connection class that the caller names.
///
/// The Java class decides what parameters, rows, columns and their numbering mean; this class creates the instance,
/// passes calls through, converts text and turns Java exceptions into false results. The description of every Java
/// exception goes to standard error, and no operation returns with one pending. docs/connection-class.md lists the
/// methods that the Java class needs.
///
/// Thread: javaInit() binds the object to the calling thread; every later call, the destructor included, runs there.
/// Text in both directions is JNI's modified UTF-8. Text into Java ends at its first NUL; standard four-byte UTF-8
/// sequences are accepted, and a malformed byte arrives as the Latin-1 character of its value.
/// Before a successful javaInit() every operation returns false and touches nothing.
/// Operations throw nothing of their own; std::bad_alloc can escape, with everything released.
///
/// The fields are public because their order is part of the binary interface; hosts do not write to them.
class KIVO_EXPORT JavaConnectionUtils {
 public:
  /// @param className the Java connection class in JNI form ("com/example/MyConnection"); copied.
  explicit JavaConnectionUtils(std::string& className);

  /// Drops the Java instance without calling it. Runs on the thread of javaInit(), which stays attached.
  ~JavaConnectionUtils();

  JavaConnectionUtils(const JavaConnectionUtils&) = delete;
  JavaConnectionUtils& operator=(const JavaConnectionUtils&) = delete;

  /// Attaches the calling thread to the process's Java VM and creates the instance through its no-argument constructor.
  /// @return false when there is no VM, or the class or its constructor is missing or throws; it may be called again.
  ///         True at once when the instance already exists.
  bool javaInit();

  /// Builds a Java String[] of the given texts.
  /// @return a local reference that the caller releases, or null on failure.
  jobjectArray buildStringArray(std::vector<std::string>& strings);

  /// Calls setParams(String[], String[]) with the two lists as they are, whatever their lengths.
  bool setParams(std::vector<std::string>& names, std::vector<std::string>& values);

  /// Calls connect(); true when it did not throw.
  bool makeConnection();

  /// Calls canDiscover(); its answer, or false when it threw.
  bool canDiscover();

  /// Calls discoverTables(Vector) and appends the names it gave to the end of @p tables.
  /// @return true when Java answered true and every element was read. On a null or foreign element false, with the
  ///         names before it appended.
  bool discoverTables(std::vector<std::string>& tables);

  /// Calls discoverTable(String, Vector, Vector) and appends the first Vector's strings to @p firstList, the second's
  /// to @p secondList. What the lists mean is the Java class's choice.
  /// @return true when Java answered true and both Vectors were read. A failure in the first leaves @p secondList
  ///         untouched; one in the second leaves @p firstList complete.
  bool discoverTable(std::string& tableName, std::vector<std::string>& firstList, std::vector<std::string>& secondList);

  /// Calls query(); true when it did not throw.
  bool query();

  /// Calls next(); true while a row is current. False is the end of the rows or a failure (printed).
  bool next();

  /// Calls getColumn(int) with @p index unchanged.
  /// @param value receives the text in a buffer from malloc that the caller frees, or null for a Java null.
  /// @return false on failure, with @p value null (untouched before javaInit()).
  bool getColumn(int index, char*& value);

  JNIEnv* env = nullptr;               ///< Environment of the owning thread; null until javaInit().
  std::string className;               ///< Name given to the constructor.
  jobject connectionObject = nullptr;  ///< Global reference to the instance; null until javaInit() succeeded.
};
