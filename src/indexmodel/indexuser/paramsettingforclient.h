#pragma once

#include "format/paramsettingforclient.h"
