// A command that has several forms, each with its own name and options: number count, url escape.
//
//   const Forms<Options> forms(command);
//   const CommandPart count = forms.Add("count", "A count with a unit letter", SayCount);
//   count.AddFlag("--thousands", forms.options().in_thousands, "...");
//   return forms.work();
#pragma once

#include <memory>

#include "programs/qvtool/commands.h"

namespace qvtool {

// All forms share one record of options.
template <typename Options>
class Forms {
 public:
  explicit Forms(const CommandPart& command) : command_(command) { command_.RequireCommand(); }

  CommandPart Add(const char* name, const char* purpose,
                  Trouble (*run)(const Options&, Streams&)) const {
    const CommandPart form = command_.AddCommand(name, purpose);
    form.WhenGiven([chosen = chosen_, options = options_, run] {
      *chosen = [options, run](Streams& streams) { return run(*options, streams); };
    });
    return form;
  }
  Options& options() const { return *options_; }
  // Runs the form that the command line chose.
  Work work() const {
    return [chosen = chosen_](Streams& streams) { return (*chosen)(streams); };
  }

 private:
  CommandPart command_;
  std::shared_ptr<Options> options_ = std::make_shared<Options>();
  std::shared_ptr<Work> chosen_ = std::make_shared<Work>();
};

}  // namespace qvtool
