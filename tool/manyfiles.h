// Commands on folders and tables: each character, or pair of files, is a run of the program.
#pragma once

#include "arguments.h"

// Each prints what the runs print, in the order of the delivery, and a table of all; answers the
// worst of their exit statuses. A run that crashes is trouble.
int CheckMany(const Arguments& arguments);
int InfoMany(const Arguments& arguments);
// Two deliveries: files are compared with those of the same name.
int DiffMany(const Arguments& arguments);
