// Options that several commands have.
#pragma once

#include "service/ContentsPlace.h"
#include "service/DatabasePlace.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace kelvo {

/** The options of a command. They become the result if the command was given. */
template <class Options>
std::shared_ptr<Options> optionsOf(CLI::App& command, std::optional<Options>& result)
{
    auto options = std::make_shared<Options>();
    command.callback([options, &result] { result = *options; });
    return options;
}

/** Adds an option whose text `read` parses. `read` returns an error text, empty on success. */
template <class Options>
void addReadOption(CLI::App& command, Options& options, const std::string& name,
                   std::string (*read)(const std::string&, Options&), const char* meaning,
                   const std::string& shownDefault)
{
    command
        .add_option_function<std::string>(
            name,
            [&options, name, read](const std::string& text) {
                if (const auto wrong = read(text, options); !wrong.empty()) {
                    throw CLI::ValidationError(name, wrong);
                }
            },
            meaning)
        ->default_str(shownDefault);
}

/** For addReadOption(). */
template <class Options>
std::string readContents(const std::string& text, Options& options)
{
    try {
        options.contents = ContentsPlace::parse(text);
        return {};
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

/** For addReadOption(). */
template <class Options>
std::string readDatabase(const std::string& text, Options& options)
{
    try {
        options.database = DatabasePlace::parse(text);
        return {};
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

/** For addReadOption(), in commands for a service on a database server. */
template <class Options>
std::string readServer(const std::string& text, Options& options)
{
    Options parsed;
    std::string wrong = readDatabase(text, parsed);
    if (wrong.empty() && !parsed.database.isOnServer()) {
        wrong = "give postgresql://USER@HOST/DATABASE";
    }
    options.database = parsed.database;
    return wrong;
}

} // namespace kelvo
