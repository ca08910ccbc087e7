// Uses the runtime alone.
#include <cstdio>

#include "vaxomap.h"
#include "vaxostream.h"
#include "vaxovector.h"

int main() {
    vaxostl::map<int, vaxo::strutf8> names;
    vaxo::strutf8 name(nullptr, 0);
    names.set(2, name.format("QR.%d", 2));
    vaxostl::vector<vaxo::strutf8> list;
    if (list.Add(names[2]) != 0 || list[0].length() != 4) {
        return 1;
    }
    std::printf("containers: %s\n", list[0].c_str());
    return 0;
}
