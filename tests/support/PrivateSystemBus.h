#pragma once

#include "PrivateBus.h"
