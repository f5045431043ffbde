#include "cli/app.h"

int main(int argc, char** argv) {
  return lumivex::cli::RunTool(argc, argv);
}
