#include <vector>

#include "programs/io/Down.h"
