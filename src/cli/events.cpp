#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>

#include "cli/dataset_table.h"
#include "output/visible_text.h"
#include "recording/selection.h"

namespace ctfmeg::cli {
namespace {

using output::Cell;

/// Those of the options, or all of kind `stim`.
Selection selectionOf(const Recording& recording, const Selection& asked) {
  Selection selection = asked;
  if (selection.channels) return selection;
  selection.channels.emplace();
  try {
    for (const int channel : stimulusChannels(recording, asked))
      selection.channels->push_back(recording.channels()[static_cast<std::size_t>(channel)].name);
  } catch (const Error& error) {
    throw Error(error.kind(), error.path(), error.text() + "; --channel NAME searches another one");
  }
  return selection;
}

double milliseconds(std::int64_t samples, const Recording& recording) {
  return static_cast<double>(samples) * 1000.0 / recording.record().sampleRate;
}

std::string counted(std::size_t count, const char* one, const char* several) {
  return std::to_string(count) + " " + (count == 1 ? one : several);
}

/// How events agree with a marker, in a sentence.
std::string summed(const MarkerAgreement& agreement, const std::string& marker, const Recording& recording) {
  const std::size_t all = agreement.matches.size() + agreement.eventsAlone.size();
  std::int64_t most = 0;
  for (const MarkerMatch& match : agreement.matches)
    most = std::max(most, std::abs(match.difference));
  std::vector<std::string> parts;
  if (!agreement.matches.empty())
    parts.push_back(std::to_string(agreement.matches.size()) + " of " +
                    counted(all, "event has", "events have") + " an occurrence of " + marker +
                    (most == 0 ? ", at the same sample"
                               : ", at most " + counted(static_cast<std::size_t>(most), "sample", "samples") +
                                     " (" + output::brief(milliseconds(most, recording)) + " ms) away"));
  if (!agreement.eventsAlone.empty())
    parts.push_back(counted(agreement.eventsAlone.size(), "event has", "events have") + " no occurrence of " +
                    marker + " within " + output::brief(kMarkerTolerance * 1000.0) + " ms");
  if (!agreement.occurrencesAlone.empty())
    parts.push_back(counted(agreement.occurrencesAlone.size(), "occurrence has", "occurrences have") +
                    " no event");
  if (parts.empty()) return "there is neither an event nor an occurrence of " + marker;
  std::string text = parts.front();
  for (std::size_t i = 1; i < parts.size(); ++i)
    text += "; " + parts[i];
  return text;
}

/// The rows of one dataset.
class EventRows {
 public:
  EventRows(const Recording& recording, const std::vector<StimulusEvent>& events)
      : m_recording(recording), m_events(events) {}

  void addAll(output::TableWriter& table) const {
    for (const StimulusEvent& event : m_events)
      table.add(cellsOf(event));
  }

  /// With the occurrences of a marker, those without an event among them.
  void addAll(const MarkerAgreement& agreement, const Marker& marker, output::TableWriter& table) const {
    std::vector<const MarkerMatch*> matches(m_events.size());
    for (const MarkerMatch& match : agreement.matches)
      matches[match.event] = &match;
    auto alone = agreement.occurrencesAlone.begin();
    const auto addAlone = [&] {
      std::vector<Cell> row(kEventCells);
      addOccurrence(row, marker, marker.samples[*alone++]);
      row.resize(row.size() + 2);
      table.add(std::move(row));
    };
    for (std::size_t i = 0; i < m_events.size(); ++i) {
      while (alone != agreement.occurrencesAlone.end() && isBefore(marker.samples[*alone], m_events[i]))
        addAlone();
      std::vector<Cell> row = cellsOf(m_events[i]);
      if (const MarkerMatch* match = matches[i]) {
        addOccurrence(row, marker, marker.samples[match->occurrence]);
        row.emplace_back(match->difference);
        row.emplace_back(milliseconds(match->difference, m_recording));
      }
      row.resize(kEventCells + kMarkerCells);
      table.add(std::move(row));
    }
    while (alone != agreement.occurrencesAlone.end())
      addAlone();
  }

 private:
  static constexpr std::size_t kEventCells = 8, kMarkerCells = 5;

  std::vector<Cell> cellsOf(const StimulusEvent& event) const {
    const RecordInfo& record = m_recording.record();
    return {m_recording.channels()[static_cast<std::size_t>(event.channel)].name,
            event.value,
            event.previous,
            event.trial,
            event.sample,
            milliseconds(event.sample - record.preTrigSamples, m_recording),
            event.runTime,
            event.duration};
  }

  static void addOccurrence(std::vector<Cell>& row, const Marker& marker, const MarkerSample& occurrence) {
    row.emplace_back(marker.name);
    row.emplace_back(occurrence.trial);
    row.emplace_back(occurrence.sample);
  }

  static bool isBefore(const MarkerSample& occurrence, const StimulusEvent& event) {
    return std::pair(occurrence.trial, occurrence.sample) < std::pair(event.trial, event.sample);
  }

  const Recording& m_recording;
  const std::vector<StimulusEvent>& m_events;
};

}  // namespace

int runEvents(const EventsOptions& options) {
  std::vector<output::Column> columns{{"channel", "channel"},        {"value", "value"},
                                      {"previous", "previous"},      {"trial", "trial"},
                                      {"sample", "sample"},          {"timeMs", "time (ms)"},
                                      {"runTime", "in the run (s)"}, {"duration", "duration (s)"}};
  if (options.marker)
    for (const output::Column& column : {output::Column{"marker", "marker"},
                                         {"markerTrial", "its trial"},
                                         {"markerSample", "its sample"},
                                         {"differenceSamples", "difference"},
                                         {"differenceMs", "in ms"}})
      columns.push_back(column);
  std::vector<std::string> sentences;
  const int code = runTable(
      options,
      {columns, "no events",
       [&](Session& session, const std::string& path, const Recording& recording,
           output::TableWriter& table) {
         std::optional<Marker> marker;
         if (options.marker)
           marker = markerNamed(*options.marker, recording.markers(), recording.resourceFile());
         SelectionOptions searched = options.shown;
         searched.selection = selectionOf(recording, searched.selection);
         const SelectedSamples selected = session.select(path, recording, searched);
         session.sayWarnings(path, recording, selected, searched.selection);
         const auto found =
             stimulusEvents(recording, *selected.source, options.changes, session.progress(path));
         session.sayWarnings(path, found.findings);
         const EventRows rows(recording, found.events);
         if (!marker) return rows.addAll(table);
         const auto agreement = compareWithMarker(recording, *selected.source, found.events, marker->name);
         rows.addAll(agreement, *marker, table);
         sentences.push_back((options.datasets.size() > 1 ? shown(path, options.reading) + ": " : "") +
                             summed(agreement, marker->name, recording));
       }});
  if (options.form == output::TableForm::text)
    for (const std::string& sentence : sentences)
      std::cout << output::visible(sentence) << '\n';
  finishOutput();
  return code;
}

}  // namespace ctfmeg::cli
