// Writes the pages of docs/ that show the library's own tables, from those tables.
//
//   vaxo_tables write FOLDER   writes the pages
//   vaxo_tables check FOLDER   says which pages are not what it would write; status 1 then
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>

#include "live/VaxoLiveCalls.h"
#include "live/VaxoLiveJoin.h"

namespace {

const char* const s_origin =
    "<!-- Written by vaxo_tables from the tables in src/kernel/live. Change those, then run\n"
    "     script/docs. -->\n\n";

std::string Cell(const Strova::VaxoLiveJoinCell& cell) {
    if (cell.same == cell.different) {
        return VaxoDescription(cell.same);
    }
    return std::string("same: ") + VaxoDescription(cell.same) +
           "; different: " + VaxoDescription(cell.different);
}

std::string JoinMatrix() {
    std::ostringstream page;
    page
        << "# Which calls make which others pointless\n\n"
        << s_origin
        << "A newly accepted call is joined against every command that still waits, oldest\n"
           "first. The waiting command (row) answers to the newcomer (column):\n\n"
           "- CoExist: both stay.\n"
           "- InvalidateFormer: the waiting command is dropped, without an event.\n"
           "- InvalidateLater: the newcomer is refused; the call answers 1.\n\n"
           "\"Same\" and \"different\" compare the newcomer's text (the stream of a publish, play\n"
           "or stop; the channel of an entry) with the waiting command's argument, byte for\n"
           "byte. The command that runs or waits for its event takes no part.\n\n"
           "| Waiting command | compares with |";
    for (const Strova::VaxoLiveJoinRule& rule : Strova::joincell::Rules) {
        page << " `" << VaxoDescription(rule.waiting) << "` |";
    }
    page << "\n|---|---|";
    for (std::size_t i = 0; i < Strova::VaxoLiveJoinTypes; ++i) {
        page << "---|";
    }
    page << "\n";
    for (const Strova::VaxoLiveJoinRule& rule : Strova::joincell::Rules) {
        page << "| `" << VaxoDescription(rule.waiting) << "` | ";
        if (rule.comparesWith != nullptr) {
            page << "its `" << rule.comparesWith << "`";
        }
        page << " |";
        for (const Strova::VaxoLiveJoinCell& cell : rule.cells) {
            page << " " << Cell(cell) << " |";
        }
        page << "\n";
    }
    page << "\nA newcomer of a type outside this table, which no call makes, is refused by every\n"
            "row but the last, with a line of its own at level 1:\n\n"
            "| Waiting command | Log line |\n|---|---|\n";
    for (const Strova::VaxoLiveJoinRule& rule : Strova::joincell::Rules) {
        if (rule.unknown != nullptr) {
            page << "| `" << VaxoDescription(rule.waiting) << "` | \"" << rule.unknown << "\" |\n";
        }
    }
    return page.str();
}

std::string CallNumbers() {
    std::ostringstream page;
    page << "# Call numbers\n\n"
         << s_origin
         << "What the queue's log lines show as `SyncCmd(number/)`, and for the calls that are\n"
            "handed on to the engine's operation of the same name, the status of the command\n"
            "when there is no engine. The stream and channel calls show their type and their\n"
            "stream or channel instead.\n\n"
            "| Number | Operation | Without an engine |\n|---|---|---|\n";
    for (const Strova::livecall::Row& row : Strova::livecall::Rows) {
        page << "| " << row.number << " | `" << row.operation << "` | ";
        if (row.setter) {
            page << row.statusWithoutEngine;
        }
        page << " |\n";
    }
    return page.str();
}

std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

int main(int argc, char** argv) {
    const bool write = argc == 3 && std::strcmp(argv[1], "write") == 0;
    const bool check = argc == 3 && std::strcmp(argv[1], "check") == 0;
    if (!write && !check) {
        std::cerr << "usage: vaxo_tables write|check FOLDER\n";
        return 2;
    }
    const struct {
        const char* name;
        std::string text;
    } pages[] = {{"join-matrix.md", JoinMatrix()}, {"call-numbers.md", CallNumbers()}};
    int status = 0;
    for (const auto& page : pages) {
        const std::string path = std::string(argv[2]) + "/" + page.name;
        if (write) {
            std::ofstream file(path, std::ios::binary);
            file << page.text;
            if (!file.flush()) {
                std::cerr << path << " cannot be written\n";
                status = 1;
            }
        } else if (Read(path) != page.text) {
            std::cerr << path << " does not show the tables of the code: run script/docs\n";
            status = 1;
        }
    }
    return status;
}
