// Screens whose own code is not written yet: until it is, choosing them does
// nothing.
#include "screens/screens.h"

void network_param() {}
void conn_param() {}
void mess_param() {}
void shed_param() {}
void jobs_param() {}
