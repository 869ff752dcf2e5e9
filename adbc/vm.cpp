// The Java VM of this library, which its own tests have from elsewhere.

#include "JavaVmHost.h"

JavaVM* _globaljvm = nullptr;
