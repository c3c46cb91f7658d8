// The cell's program: wires the readers to the cell that Linux makes of it.

#include "Platform/Linux/cells/CellLoop.h"
#include "Worker/cells/CellWork.h"

int main() {
  platform::linux_::CellLoop{tidewell::prepareCellWork, tidewell::cellAnswer}.run();
}
