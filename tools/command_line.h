#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace CLI {
class App;
class FormatterBase;
class Option;
class ParseError;
} // namespace CLI

/// What the program tells of its own commands, all derived from how they were declared.
namespace tools {

/// What stands for an option's value or a positional, by its type name: words in capitals, or the values themselves as
/// in "png|jpg|bmp". Empty for a flag.
std::string Placeholder(const CLI::Option &option);

/// "-o, --output FILE", or the placeholder alone of a positional.
std::string OptionHead(const CLI::Option &option);

/// What the option does, with its default.
std::string OptionText(const CLI::Option &option);

/// "kvt apply [OPTION...] PICTURE... [CALL...]"
std::string Usage(const CLI::App &command);

/// Help in lines that fit a terminal. To be set before commands are added, which take it over.
std::shared_ptr<CLI::FormatterBase> HelpFormatter();

/// A message that quotes the word that could not be used, with the name that may have been meant.
std::string Explain(const CLI::App &program, const CLI::ParseError &error);

} // namespace tools
