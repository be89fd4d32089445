// kivtracectl: shows the trace status of a key and formats its trace file.
#include "kiv_trace_controller.hpp"

int main(int argc, char** argv) {
    KivClConsoleUI ui(argc, argv);
    KivClTraceController controller(ui);
    return controller.run();
}
