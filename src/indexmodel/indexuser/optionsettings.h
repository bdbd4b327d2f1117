#pragma once

#include "format/optionsettings.h"
