// A command that has several forms, each with its own name and options: number count, url escape.
//
//   const Forms<Options> forms(command);
//   CLI::App& count = forms.Add("count", "A count with a unit letter", SayCount);
//   count.add_flag("--thousands", forms.options().in_thousands, "...");
//   return forms.work();
#pragma once

#include <CLI/CLI.hpp>
#include <memory>

#include "programs/qvtool/commands.h"

namespace qvtool {

// All forms share one record of options.
template <typename Options>
class Forms {
 public:
  explicit Forms(CLI::App& command) : command_(command) { command_.require_subcommand(1); }

  CLI::App& Add(const char* name, const char* purpose,
                Trouble (*run)(const Options&, Streams&)) const {
    CLI::App* form = command_.add_subcommand(name, purpose);
    form->callback([chosen = chosen_, options = options_, run] {
      *chosen = [options, run](Streams& streams) { return run(*options, streams); };
    });
    return *form;
  }
  Options& options() const { return *options_; }
  // Runs the form that the command line chose.
  Work work() const {
    return [chosen = chosen_](Streams& streams) { return (*chosen)(streams); };
  }

 private:
  CLI::App& command_;
  std::shared_ptr<Options> options_ = std::make_shared<Options>();
  std::shared_ptr<Work> chosen_ = std::make_shared<Work>();
};

}  // namespace qvtool
