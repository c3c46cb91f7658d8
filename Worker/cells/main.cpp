// The cell's program.

#include "Worker/cells/CellMain.h"

int main() {
  tidewell::cellMain();
}
