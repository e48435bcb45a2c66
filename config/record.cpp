#include "config/record.h"

ConfigRecord INI;
ConfigRecord INI1;
