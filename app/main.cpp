#include "app/startup.h"

int main(int argc, char **argv) { return run_editor(argc, argv); }
