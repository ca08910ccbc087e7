#include "QueueLine.h"

#include <array>
#include <utility>

namespace vaxotrace {

namespace {

// "FRONT command BETWEEN size BACK"; the last of the words BETWEEN counts, because the
// command's text may hold anything.
struct Sized {
    QueueWord word;
    std::string_view front;
    std::string_view between;
    std::string_view back;
};

constexpr std::array<Sized, 3> s_sized = {{
    {QueueWord::Offer, "AddCmd, going to add ", ", current queue size: ", " >>>>>"},
    {QueueWord::Added, ">> added ", ", queue size: ", ""},
    {QueueWord::Popped, "PopCmd, cmd ", " poped, final queue size: ", ""},
}};

// "FRONT command BACK".
struct Named {
    QueueWord word;
    std::string_view front;
    std::string_view back;
};

constexpr std::array<Named, 6> s_named = {{
    {QueueWord::Stays, ">> join result by ", ", CoExist"},
    {QueueWord::Removed, ">> join result by ", ", InvalidateFormer"},
    {QueueWord::Refuses, ">> join result by ", ", InvalidateLater"},
    {QueueWord::Holding, "> executing: ", ""},
    {QueueWord::Done, ">> current executing cmd: ", ""},
    {QueueWord::Ran, "> executed ", ""},
}};

bool ParseSized(const Sized& form, std::string_view text, QueueLine& out) {
    if (!TakeFront(text, form.front) || !TakeBack(text, form.back)) {
        return false;
    }
    const std::size_t between = text.rfind(form.between);
    if (between == std::string_view::npos) {
        return false;
    }
    std::string_view size = text.substr(between + form.between.size());
    out.word = form.word;
    return TakeNumber(size, out.size) && size.empty() &&
           ParseCommandName(text.substr(0, between), out.command);
}

bool ParseNamed(const Named& form, std::string_view text, QueueLine& out) {
    out.word = form.word;
    return TakeFront(text, form.front) && TakeBack(text, form.back) &&
           ParseCommandName(text, out.command);
}

// "FRONT type BACK".
bool ParseType(QueueWord word, std::string_view front, std::string_view back, std::string_view text,
               QueueLine& out) {
    if (!TakeFront(text, front) || !TakeBack(text, back) || text.size() > 32) {
        return false;
    }
    out.word = word;
    out.command.type = std::string(text);
    return true;
}

bool ParseListed(std::string_view text, QueueLine& out) {
    out.word = QueueWord::Listed;
    return TakeNumber(text, out.size) && TakeFront(text, ": ") &&
           ParseCommandName(text, out.command);
}

bool ParseOwn(std::string_view text, QueueLine& out) {
    if (ParseType(QueueWord::RanAndHolds, "> executed ", ", waiting for result", text, out) ||
        ParseType(QueueWord::Report, "SetCmdExecuteCmdDone, cmd type: ", "", text, out)) {
        return true;
    }
    for (const Sized& form : s_sized) {
        if (ParseSized(form, text, out)) {
            return true;
        }
    }
    for (const Named& form : s_named) {
        if (ParseNamed(form, text, out)) {
            return true;
        }
    }
    if (text == "StartCmdExecuteInner") {
        out.word = QueueWord::Pass;
        return true;
    }
    return ParseListed(text, out);
}

}  // namespace

QueueLine ParseQueueLine(const LogLine& line) {
    QueueLine parsed;
    const bool isKnown =
        line.tag == "CmdQueue"
            ? ParseOwn(line.text, parsed)
            : line.tag == "unnamed" &&
                  ParseNamed({QueueWord::Failed, ">>>>>> execute ", " failed"}, line.text, parsed);
    return isKnown ? parsed : QueueLine();
}

}  // namespace vaxotrace
