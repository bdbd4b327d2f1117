#pragma once

#include "format/userdocument.h"
