#include "platform/win32.h"
