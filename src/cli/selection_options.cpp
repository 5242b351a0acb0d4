#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

#include "cli/definitions.h"
#include "cli/selection.h"

namespace ctfmeg::cli {
namespace {

using Check = std::function<std::string(const std::string&)>;

/// How the value of an option is written: the word for it in the help, and what says why a text is none.
struct Form {
  const char* word;
  Check check;
};

template <class Parse>
Check understoodBy(Parse parse, const char* must) {
  return [parse, must](const std::string& text) { return parse(text) ? "" : mustBe(must, text); };
}

const Form& seconds() {
  static const Form kForm{"S", understoodBy(parseSeconds, "a number of seconds")};
  return kForm;
}

const Form& count() {
  static const Form kForm{"N", understoodBy(parseCount, "a whole number from 1")};
  return kForm;
}

std::optional<Gaps> parseGaps(const std::string& text) {
  if (text == "nan") return Gaps::fill;
  return text == "cut" ? std::optional(Gaps::cut) : std::nullopt;
}

/// Notes what was asked for and returns what it changes.
Selection& keep(SelectionOptions& options, const std::string& name, const std::string& text) {
  options.asked.emplace_back(name.substr(2), text);
  return options.selection;
}

/// Adds options that a selection is made of, to one command.
class SelectionDefinition {
 public:
  SelectionDefinition(CLI::App* command, SelectionOptions& options)
      : m_command(command), m_options(options) {}

  /// Which trials, and which span of each.
  void addSpan(const std::string& ofRun) {
    addTrials();
    add("--marker", {"NAMES", {}}, "the trials that carry one of these markers (comma-separated)", parseNames,
        &Selection::markers);
    auto* samples =
        add("--samples", {"FIRST:LAST", understoodBy(parseSpan, "two sample numbers such as 0:599")},
            "samples FIRST to LAST of each trial, counted from 0" +
                (ofRun.empty() ? "" : "; of the run " + ofRun),
            parseSpan, &Selection::samples);
    addTime("--from",
            "from S seconds after the trigger on" + (ofRun.empty() ? "" : "; of the run's start " + ofRun),
            &TimeSpan::from)
        ->excludes(samples);
    addTime("--to", "up to S seconds after it", &TimeSpan::to)->excludes(samples);
  }

  /// Which of each trial, or of the run.
  void addSamples() {
    addSpan("with --continuous");
    auto* split = add("--split", count(), "each trial as N shorter ones", parseCount, &Selection::pieces);
    auto* continuous =
        m_command
            ->add_flag_callback(
                "--continuous",
                [&options = m_options] { keep(options, "--continuous", "").continuous = true; },
                "the trials as one run: channels x samples")
            ->excludes(split);
    add("--gaps", {"nan|cut", oneOf({"nan", "cut"})},
        "where trials of a run do not adjoin: fill with NaN, or put them together", parseGaps,
        [](Selection& selection, Gaps gaps) { selection.gaps = gaps; })
        ->needs(continuous);
    addStep();
  }

  /// Which of epochs alone.
  void addEpochSamples() {
    addTrials();
    addTime("--from", "epochs from S seconds after a marker on; before it with a minus sign",
            &TimeSpan::from);
    addTime("--to", "up to S seconds after it", &TimeSpan::to);
    addStep();
  }

  void addChannels() {
    add("--channels", {"LIST", {}}, "names, patterns (MLC*) or kinds (meg, ref, eeg, stim), comma-separated",
        parseNames, &Selection::channels);
    add("--exclude", {"LIST", {}}, "channels to leave out, likewise; bad: those marked as bad", parseNames,
        [](Selection& selection, std::vector<std::string> names) { selection.exclude = std::move(names); });
  }

  void addProcessing() {
    add(
        "--compensation", {"0|1|2|3", oneOf({"0", "1", "2", "3"})},
        "MEG channels in this gradient order, whatever they are stored in",
        [](const std::string& order) { return std::optional(order[0] - '0'); },
        [&options = m_options](Selection&, int order) { options.compensation = order; });
    add("--decimate", count(), "every N-th sample, after a low-pass filter", parseCount,
        [&options = m_options](Selection&, int n) { options.decimate = n; })
        ->excludes(m_command->get_option("--resample"));
    auto* around = add("--around", {"NAMES", {}},
                       "epochs around each occurrence of these markers, from --from to --to seconds after it",
                       parseNames, [&options = m_options](Selection&, std::vector<std::string> names) {
                         options.around = std::move(names);
                       });
    for (const char* needed : {"--from", "--to"})
      around->needs(m_command->get_option(needed));
    for (const char* name : {"--split", "--continuous", "--marker", "--samples"})
      if (CLI::Option* other = m_command->get_option_no_throw(name)) around->excludes(other);
    add("--baseline", {"S:S", understoodBy(parseBaseline, "a span in seconds such as -0.2:0")},
        "subtract each channel's mean over this span of the epoch", parseBaseline,
        [&options = m_options](Selection&, Epoching::Baseline span) { options.baseline = span; })
        ->needs(around);
    m_command
        ->add_flag_callback(
            "--skip-bad",
            [&options = m_options] {
              keep(options, "--skip-bad", "");
              options.skipBad = true;
            },
            "leave out epochs in bad segments, or in trials of a class named BAD...")
        ->needs(around);
  }

  void addRejection() {
    add("--reject", {"KIND=LIMIT", understoodBy(parseLimits, "limits such as meg=4e-12,eeg=150e-6")},
        "leave out epochs whose peak-to-peak value is greater in a good channel of that kind (meg=4e-12)",
        parseLimits,
        [&options = m_options](Selection&, const std::vector<PeakToPeak>& limits) {
          options.reject = limits;
        })
        ->needs(m_command->get_option("--around"));
  }

  void addChannelNames() {
    add("--channel", {"NAMES", {}}, "the channels to search (default: all stimulus channels), as --channels",
        parseNames, &Selection::channels)
        ->excludes("--channels");
  }

  void addPartial() {
    addPartialFlag("[=drop]",
                   "a last trial that is cut short counts: what it lacks is NaN, or with =drop left out",
                   [](const std::string& how) {
                     return how == "true" ? "" : oneOf({"nan", "drop"})(how);
                   });
  }

  /// Where samples are integers, which can't say that they are missing.
  void addPartialDrop() {
    addPartialFlag("=drop",
                   "a last trial that is cut short counts, and the channels that it lacks are left out",
                   oneOf({"drop"}));
  }

 private:
  void addPartialFlag(const char* value, const char* help, const Check& check) {
    const auto given = std::make_shared<std::string>();
    m_command->add_flag("--partial", *given, help)
        ->check(check)
        ->option_text(value)
        ->each([given, &options = m_options](const std::string& how) {
          keep(options, "--partial", how == "drop" ? how : "nan").partial =
              how == "drop" ? Partial::drop : Partial::fill;
        });
  }

  void addTrials() {
    add("--trials", {"LIST", understoodBy(parseTrials, "trial numbers such as 0,2,5-7")},
        "trials by number, counted from 0 (0,2,5-7)", parseTrials, &Selection::trials);
  }

  CLI::Option* addTime(const char* name, const std::string& help, std::optional<double> TimeSpan::*end) {
    return add(name, seconds(), help, parseSeconds, [end](Selection& selection, double seconds) {
      if (!selection.seconds) selection.seconds.emplace();
      *selection.seconds.*end = seconds;
    });
  }

  void addStep() {
    add("--resample", count(), "every N-th sample, not filtered", parseCount, &Selection::step);
  }

  /// `set` is a member of Selection, or a function that sets one.
  template <class Parse, class Set>
  CLI::Option* add(const char* name, const Form& form, const std::string& help, Parse parse, Set set) {
    const auto take = [&options = m_options, name, parse, set](const std::string& text) {
      Selection& selection = keep(options, name, text);
      if constexpr (std::is_member_object_pointer_v<Set>)
        selection.*set = *parse(text);
      else
        set(selection, *parse(text));
    };
    auto* option = m_command->add_option_function<std::string>(name, take, help)->type_name(form.word);
    return form.check ? option->check(form.check) : option;
  }

  CLI::App* m_command;
  SelectionOptions& m_options;
};

}  // namespace

void addSelection(CLI::App* command, SelectionOptions& options) {
  SelectionDefinition definition(command, options);
  definition.addSamples();
  definition.addChannels();
  definition.addPartial();
}

void addPart(CLI::App* command, SelectionOptions& options) {
  SelectionDefinition definition(command, options);
  definition.addSpan("");
  definition.addChannels();
  definition.addPartialDrop();
}

void addEpochSelection(CLI::App* command, SelectionOptions& options) {
  SelectionDefinition definition(command, options);
  definition.addEpochSamples();
  definition.addChannels();
  definition.addPartial();
}

void addProcessing(CLI::App* command, SelectionOptions& options) {
  SelectionDefinition(command, options).addProcessing();
}

void addRejection(CLI::App* command, SelectionOptions& options) {
  SelectionDefinition(command, options).addRejection();
}

void addChannelSelection(CLI::App* command, SelectionOptions& options) {
  SelectionDefinition(command, options).addChannels();
}

void addChannelNames(CLI::App* command, SelectionOptions& options) {
  SelectionDefinition(command, options).addChannelNames();
}

}  // namespace ctfmeg::cli
