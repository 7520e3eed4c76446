#pragma once

#include <CLI/CLI.hpp>

#include <QStringList>

#include <functional>
#include <vector>

namespace cli {

/// What the help lists.
std::vector<const CLI::Option*> offeredOptions(const CLI::App& app);
std::vector<const CLI::App*> offeredSubcommands(const CLI::App& app);

/// What may stand in a place of the command line.
struct CompletionPlace
{
    QString subcommand;
    QString kind; ///< what the help calls it: "ITEM", "CONDITION", "FILE"
    QStringList before; ///< the words behind the subcommand that come before, options left out
    QString typed; ///< what is there of the word
};

/// What a program knows of such a place; its own words of the command line are offered without it.
using CompletionOffers = std::function<QStringList(const CompletionPlace& place)>;

/// The kind of those for which the shell completes the names of files.
constexpr const char* FileKind = "FILE";
/// The exit status of "PROGRAM complete" that asks the shell for files.
constexpr int OfferFiles = 10;

/// Answers "PROGRAM complete -- WORD...", by which the shells ask what may stand in the place of the last
/// word: prints a candidate a line, those that do not begin like the word as well. "NAME=" is to be gone on
/// with at once.
/// @return the exit status
int complete(const CLI::App& app, const QStringList& words, const CompletionOffers& offers);

} // namespace cli
