#include "HelpFormat.h"

#include <sstream>

#include "Arguments.h"
#include "Examples.h"
#include "Text.h"

namespace vaxoapp {

namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kColumn = 28;  // where descriptions begin

}  // namespace

std::string Wrapped(const std::string& text, std::size_t width) {
    std::string all;
    std::size_t used = 0;
    for (const std::string& word : Words(text)) {
        const bool isNext = used != 0 && used + 1 + word.size() > width;
        if (used != 0) {
            all += isNext ? '\n' : ' ';
        }
        used = used == 0 || isNext ? word.size() : used + 1 + word.size();
        all += word;
    }
    return all;
}

HelpFormat::HelpFormat() {
    column_width(kColumn);
}

std::string HelpFormat::make_description(const CLI::App* app) const {
    return Wrapped(app->get_description(), kWidth) + "\n";
}

std::string HelpFormat::make_subcommand(const CLI::App* sub) const {
    std::ostringstream out;
    CLI::detail::format_help(out, sub->get_name(),
                             Wrapped(sub->get_description(), kWidth - kColumn), kColumn);
    return out.str();
}

std::string HelpFormat::make_option_opts(const CLI::Option* option) const {
    const std::string taken = TakenBy(*option);
    return taken.empty() ? "" : " " + taken;
}

std::string HelpFormat::make_option_desc(const CLI::Option* option) const {
    return Wrapped(option->get_description(), kWidth - kColumn);
}

std::string HelpFormat::make_footer(const CLI::App* app) const {
    const std::string examples = ExamplesText(app->get_name());
    const std::string footer = CLI::Formatter::make_footer(app);
    return examples.empty() ? footer : examples + "\n\n" + footer;
}

}  // namespace vaxoapp
