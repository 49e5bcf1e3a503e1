#pragma once
#include "../../declarations/objc/blocks_runtime.h"
