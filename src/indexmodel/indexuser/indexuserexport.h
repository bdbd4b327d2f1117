#pragma once

#include "format/indexuserexport.h"
