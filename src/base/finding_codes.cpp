#include "base/finding_codes.h"

#include <algorithm>
#include <array>

namespace ctfmeg {
namespace {

constexpr auto kCodes = std::to_array<CodeInfo>({
    {Code::fileNotFound, "file.notFound", ErrorKind::notFound, false, "a file that is needed is not there"},
    {Code::fileNoPermission, "file.noPermission", ErrorKind::noPermission, false,
     "a file may not be read by this user"},
    {Code::fileError, "file.error", ErrorKind::damaged, false,
     "a file cannot be opened or read, for any other reason"},
    {Code::memory, "memory", ErrorKind::outOfMemory, false, "there is not enough memory"},
    {Code::memorySpill, "memory.spill", ErrorKind::outOfMemory, true,
     "the folder for samples that memory is not to hold has no room for them"},
    {Code::samplesSpilled, "samples.spilled", ErrorKind::damaged, true,
     "samples are kept in a temporary file: reading them is slower"},
    {Code::callArgument, "call.argument", ErrorKind::refused, false,
     "a host's call came without an object to fill"},
    {Code::callMarker, "call.marker", ErrorKind::refused, false,
     "a host's call by marker came without a marker"},
    {Code::dialogUnshown, "dialog.unshown", ErrorKind::refused, false,
     "a dialog or question could not be shown, and counts as cancelled or answered No"},
    {Code::routeRefused, "route.refused", ErrorKind::refused, false,
     "the selection of samples holds none of the trial, or under host rules all of it"},
    {Code::res4Magic, "res4.magic", ErrorKind::notADataset, false, "the resource file does not begin as one"},
    {Code::res4Short, "res4.short", ErrorKind::damaged, false, "the resource file ends early"},
    {Code::res4Counts, "res4.counts", ErrorKind::damaged, false,
     "the header's counts of trials, channels or samples cannot be"},
    {Code::res4Length, "res4.length", ErrorKind::damaged, false,
     "the header's length of the run description leads out of the file"},
    {Code::res4Names, "res4.names", ErrorKind::damaged, false,
     "names without an end take more room than any recording's"},
    {Code::res4References, "res4.references", ErrorKind::damaged, false,
     "a coefficient record has more than 50 references"},
    {Code::res4Rate, "res4.rate", ErrorKind::damaged, false, "the sample rate is not a positive number"},
    {Code::channelGain, "channel.gain", ErrorKind::damaged, false,
     "a channel's gain is 0 or not finite: its values stay raw"},
    {Code::channelTwice, "channel.twice", ErrorKind::damaged, false, "several channels have one name"},
    {Code::coefficientChannel, "coefficient.channel", ErrorKind::damaged, false,
     "a compensation coefficient is for a channel that is not there"},
    {Code::meg4Magic, "meg4.magic", ErrorKind::damaged, false, "a sample file does not begin as one"},
    {Code::meg4Short, "meg4.short", ErrorKind::damaged, false, "the sample files end before the run does"},
    {Code::meg4Empty, "meg4.empty", ErrorKind::damaged, false, "the sample files hold no whole trial"},
    {Code::meg4Gap, "meg4.gap", ErrorKind::damaged, false,
     "a sample file is missing although the set goes on"},
    {Code::meg4Cut, "meg4.cut", ErrorKind::damaged, false,
     "a sample file ends inside a trial although the set goes on"},
    {Code::meg4Uneven, "meg4.uneven", ErrorKind::damaged, false,
     "a sample file holds fewer trials than those before it"},
    {Code::meg4Trailing, "meg4.trailing", ErrorKind::damaged, false,
     "the sample files hold more than the header says"},
    {Code::meg4Wrapped, "meg4.wrapped", ErrorKind::damaged, false,
     "a trial is too large for host rules, which read its beginning"},
    {Code::meg4Changed, "meg4.changed", ErrorKind::damaged, false,
     "a sample file became shorter while it was read"},
    {Code::clockNone, "clock.none", ErrorKind::damaged, false,
     "no clock channel says whether trials follow each other: they are taken as doing so"},
    {Code::clockGap, "clock.gap", ErrorKind::refused, false,
     "samples are missing between two trials, by the clock channel"},
    {Code::resampleAlias, "resample.alias", ErrorKind::refused, false,
     "every so many samples are read without a filter, and the low-pass filter of the recording lets through "
     "more "
     "than the new sample rate can show"},
    {Code::markerKeyword, "marker.keyword", ErrorKind::damaged, false,
     "a line of the marker file is not the keyword that is expected"},
    {Code::markerNumber, "marker.number", ErrorKind::damaged, false, "a number of the marker file is none"},
    {Code::markerHeader, "marker.header", ErrorKind::damaged, false,
     "a marker's list lacks its column heading"},
    {Code::markerSample, "marker.sample", ErrorKind::damaged, false,
     "a line of a marker's list is not a trial and a time"},
    {Code::markerCount, "marker.count", ErrorKind::damaged, false, "the marker file counts wrongly"},
    {Code::markerShort, "marker.short", ErrorKind::damaged, false, "the marker file ends inside a marker"},
    {Code::markerNone, "marker.none", ErrorKind::damaged, false,
     "the marker file holds no marker, and does not say that there are none"},
    {Code::markerTrial, "marker.trial", ErrorKind::damaged, false,
     "a marker occurs in a trial that the run does not have"},
    {Code::markerOutside, "marker.outside", ErrorKind::damaged, false, "a marker occurs outside the trials"},
    {Code::classKeyword, "class.keyword", ErrorKind::damaged, false,
     "a line of the class file is not the keyword that is expected"},
    {Code::classNumber, "class.number", ErrorKind::damaged, false, "a number of the class file is none"},
    {Code::classHeader, "class.header", ErrorKind::damaged, false, "a class's list lacks its heading"},
    {Code::classTrial, "class.trial", ErrorKind::damaged, false,
     "a line of a class's list is not a trial's number"},
    {Code::classCount, "class.count", ErrorKind::damaged, false, "the class file counts wrongly"},
    {Code::classShort, "class.short", ErrorKind::damaged, false, "the class file ends inside a class"},
    {Code::classNone, "class.none", ErrorKind::damaged, false,
     "the class file holds no class, and does not say that there are none"},
    {Code::classOutside, "class.outside", ErrorKind::damaged, false,
     "a class lists a trial that the run does not have"},
    {Code::coilLayout, "coil.layout", ErrorKind::damaged, false,
     "the head-coil file has blocks of neither three nor five coils"},
    {Code::coilCoordinate, "coil.coordinate", ErrorKind::damaged, false,
     "a line of the head-coil file is not the coordinate that is expected"},
    {Code::coilShort, "coil.short", ErrorKind::damaged, false, "a set of the head-coil file lacks coils"},
    {Code::coilNone, "coil.none", ErrorKind::damaged, false, "the head-coil file holds no position"},
    {Code::infodsMagic, "infods.magic", ErrorKind::damaged, false,
     "the information file does not begin as one"},
    {Code::infodsDamaged, "infods.damaged", ErrorKind::damaged, false,
     "the information file cannot be followed to its end"},
    {Code::infodsValue, "infods.value", ErrorKind::damaged, false,
     "a value of the information file is of another kind than its tag"},
    {Code::eegLine, "eeg.line", ErrorKind::damaged, false,
     "a line of the electrode file is not an electrode"},
    {Code::eegNone, "eeg.none", ErrorKind::damaged, false, "the electrode file holds no electrode"},
    {Code::posCount, "pos.count", ErrorKind::damaged, false,
     "the position file's number of points is missing or wrong"},
    {Code::posPoint, "pos.point", ErrorKind::damaged, false, "a line of the position file is not a point"},
    {Code::posFiducial, "pos.fiducial", ErrorKind::damaged, false,
     "a line of the position file is not a fiducial"},
    {Code::posFiducials, "pos.fiducials", ErrorKind::damaged, false,
     "the position file does not end with three fiducials"},
    {Code::posShort, "pos.short", ErrorKind::damaged, false, "the position file ends early"},
    {Code::badChannel, "bad.channel", ErrorKind::damaged, false, "a name in BadChannels is not a channel's"},
    {Code::segmentLine, "segment.line", ErrorKind::damaged, false,
     "a line of bad.segments is not a trial and a span"},
    {Code::segmentOutside, "segment.outside", ErrorKind::damaged, false,
     "a bad segment is outside the trials"},
    {Code::virtualReference, "virtual.reference", ErrorKind::damaged, false,
     "a reference of a virtual channel is not a channel and a weight"},
    {Code::virtualShort, "virtual.short", ErrorKind::damaged, false,
     "the file of virtual channels ends inside one"},
    {Code::virtualNone, "virtual.none", ErrorKind::damaged, false,
     "the file of virtual channels holds none, and is not only a heading"},
    {Code::virtualChannel, "virtual.channel", ErrorKind::damaged, false,
     "a virtual channel refers to a channel that is not there"},
    {Code::textAscii, "text.ascii", ErrorKind::damaged, false,
     "a text has control characters or characters beyond ASCII"},
    {Code::textEncoding, "text.encoding", ErrorKind::damaged, false,
     "a text file is UTF-16, or has zero bytes"},
    {Code::textCut, "text.cut", ErrorKind::damaged, false,
     "a text file ends without a line break: its last line may be cut"},
    {Code::hostRecord, "host.record", ErrorKind::damaged, false,
     "host rules read numbers or texts of the header otherwise"},
    {Code::hostChannels, "host.channels", ErrorKind::damaged, false,
     "host rules read names or gains of channels otherwise"},
    {Code::hostCoils, "host.coils", ErrorKind::damaged, false, "host rules place coils otherwise"},
    {Code::hostCoefficients, "host.coefficients", ErrorKind::damaged, false,
     "host rules read compensation coefficients otherwise"},
    {Code::hostFilters, "host.filters", ErrorKind::damaged, false,
     "host rules leave filter parameters in the file's byte order"},
    {Code::hostMarkers, "host.markers", ErrorKind::damaged, false, "host rules have other markers"},
    {Code::hostOccurrences, "host.occurrences", ErrorKind::damaged, false,
     "host rules have fewer occurrences of markers"},
    {Code::hostRounding, "host.rounding", ErrorKind::damaged, false,
     "host rules place occurrences on other samples"},
    {Code::hostGroups, "host.groups", ErrorKind::damaged, false,
     "host rules have other groups or colours of markers"},
    {Code::hostClasses, "host.classes", ErrorKind::damaged, false, "host rules have other classes of trials"},
    {Code::hostTrials, "host.trials", ErrorKind::damaged, false,
     "host rules only count the trials of classes"},
    {Code::hostBad, "host.bad", ErrorKind::damaged, false, "host rules mark other channels as bad"},
    {Code::hostSegments, "host.segments", ErrorKind::damaged, false, "host rules have other bad segments"},
    {Code::hostVirtual, "host.virtual", ErrorKind::damaged, false, "host rules do not keep virtual channels"},
    {Code::hostFiducials, "host.fiducials", ErrorKind::damaged, false, "host rules lack head-coil positions"},
    {Code::hostElectrodes, "host.electrodes", ErrorKind::damaged, false, "host rules have fewer electrodes"},
    {Code::hostPoints, "host.points", ErrorKind::damaged, false, "host rules have fewer digitised points"},
    {Code::hostInformation, "host.information", ErrorKind::damaged, false,
     "host rules lack or change values of the information file"},
    {Code::hostSamples, "host.samples", ErrorKind::damaged, false, "host rules store other samples"},
    {Code::hostUnread, "host.unread", ErrorKind::damaged, false, "host rules cannot read the dataset"},
});

consteval bool inOrder() {
  for (std::size_t i = 0; i < kCodes.size(); ++i)
    if (kCodes[i].code != static_cast<Code>(i)) return false;
  return kCodes.back().code == Code::hostUnread;
}
static_assert(inOrder(), "an entry for each code, in the order of the enumeration");

}  // namespace

std::span<const CodeInfo> findingCodes() { return kCodes; }

const CodeInfo& infoOf(Code code) { return kCodes[static_cast<std::size_t>(code)]; }

const CodeInfo* findCode(std::string_view word) {
  const auto* found =
      std::find_if(kCodes.begin(), kCodes.end(), [word](const CodeInfo& info) { return info.word == word; });
  return found == kCodes.end() ? nullptr : found;
}

ErrorKind kindOf(const Finding& finding) {
  const CodeInfo* info = findCode(finding.code);
  return info == nullptr ? ErrorKind::damaged : info->kind;
}

}  // namespace ctfmeg
