#pragma once

#include "Platform/Ports/Platform.h"
#include "Platform/Testing/TestingDispatch.h"
