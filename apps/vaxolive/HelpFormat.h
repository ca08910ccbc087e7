// How --help looks: lines that fit a terminal of 80 columns, options with what they take, and
// each subcommand's examples below.
#ifndef VAXO_APPS_HELPFORMAT_H
#define VAXO_APPS_HELPFORMAT_H

#include <CLI/CLI.hpp>
#include <string>

namespace vaxoapp {

class HelpFormat : public CLI::Formatter {
public:
    HelpFormat();

    std::string make_description(const CLI::App* app) const override;
    std::string make_subcommand(const CLI::App* sub) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
    std::string make_footer(const CLI::App* app) const override;
};

// The words of `text` in lines of at most `width` characters.
std::string Wrapped(const std::string& text, std::size_t width);

}  // namespace vaxoapp

#endif
