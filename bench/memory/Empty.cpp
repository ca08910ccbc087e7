// A C++ program that does nothing: what vaxo_bench_start is set beside.
#include "memory/Resident.h"

int main() {
    vaxoengine::PrintResident();
    return 0;
}
