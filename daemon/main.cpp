#include "daemon/Program.h"

int main(int count, char **arguments) {
  return Routing::Pim::Bsr::runProgram(Pax::AddressFamily::PIMBSR_FAMILY, {arguments + 1, arguments + count});
}
