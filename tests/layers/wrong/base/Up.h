#pragma once

#include "programs/io/Down.h"
