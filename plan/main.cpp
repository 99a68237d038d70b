#include "plan/Program.h"

int main(int argc, char **argv) { return Planning::program({argv + 1, argv + argc}, std::cout, std::cerr); }
