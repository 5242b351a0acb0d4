#ifndef CTFMEG_CTFMEG_H
#define CTFMEG_CTFMEG_H

/**
 * @file
 * CTF recordings for C, and through it for every language that can call C: open a dataset, read its header as
 * JSON, and read any window of its samples.
 *
 * Failure. A function that can fail returns CTFMEG_OK (0) or the kind of what went wrong, and fills the
 * `ctfmeg_error` that it is given; null for a caller who does not want to know more. What is returned through
 * pointers is changed on success only. No C++ exception and no abort crosses this border.
 *
 * Handles. A recording or a view is an opaque handle. Passing one that was closed, one of the other sort, or
 * null is an error of kind CTFMEG_MISUSE. Handles may be closed in any order: a view goes on after its
 * recording is closed. Closing while another thread reads is safe; that reading ends as usual. A process that
 * is forked may use handles of its parent.
 *
 * Threads. Every function may be called from several threads at once, with the same handles too.
 *
 * Memory. Texts and arrays returned through `char**` and the like belong to the caller, who releases them
 * with `ctfmeg_free`. Arguments belong to the caller and are not kept, but for the callbacks of
 * `ctfmeg_open` and `ctfmeg_open_store`. Texts are UTF-8 and end at a zero byte; on POSIX systems bytes of a
 * path that are no UTF-8 are taken as they are.
 *
 * Callbacks are called on the thread that called the function, but for those of a `ctfmeg_store`, which may
 * be called from several threads at once. They must not throw.
 *
 * Structs that begin with `size` are set to zero by the caller, all of them, and `size` to their sizeof:
 * later versions may add members at the end.
 */

#include <stddef.h>
#include <stdint.h>

#include <ctfmeg/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Raised when a caller that was compiled before can't go on. See ctfmeg_abi_version(). */
#define CTFMEG_ABI_VERSION 1

/** The ABI version of the library in use; it must be the CTFMEG_ABI_VERSION that a caller was compiled with.
 */
CTFMEG_API int ctfmeg_abi_version(void);

/** The library's version, such as "0.1.0". Never released. */
CTFMEG_API const char* ctfmeg_version(void);

/** What went wrong. */
enum ctfmeg_kind {
  CTFMEG_OK = 0,
  CTFMEG_NOT_FOUND = 1,     /**< a file or directory is not there */
  CTFMEG_NO_PERMISSION = 2, /**< it may not be read */
  CTFMEG_NOT_A_DATASET = 3, /**< it is there and no CTF dataset */
  CTFMEG_DAMAGED = 4,       /**< it can't be read, or what it says can't be */
  CTFMEG_REFUSED = 5,       /**< what was asked for can't be had of this recording */
  CTFMEG_OUT_OF_MEMORY = 6,
  CTFMEG_STOPPED = 7,      /**< a callback asked for it */
  CTFMEG_OUT_OF_RANGE = 8, /**< an index is not within the shape */
  CTFMEG_MISUSE = 9, /**< a null, closed or wrong handle, a buffer that is too small, an argument that makes
                          no sense */
  CTFMEG_NOT_WRITTEN = 10 /**< a copy can't be written: the disk is full, a folder may not be written to */
};

/** The kind as a word: "notFound", "noPermission", "notADataset", "damaged", "refused", "outOfMemory",
 * "stopped", "outOfRange", "misuse", "notWritten", "ok"; "unknown" for another number. Never released. */
CTFMEG_API const char* ctfmeg_kind_name(int kind);

/** Why a function failed. Set to zero before its first use; a function that fails releases what it held
 * before. On success it is left as it is. */
typedef struct ctfmeg_error {
  int kind;       /**< a ctfmeg_kind */
  char* path;     /**< of the file that is the reason; "" where it is about none */
  char* text;     /**< one plain sentence, without the path */
  char* findings; /**< everything that was noticed: a JSON list as `warnings` of the header */
} ctfmeg_error;

/** Releases the texts of an error and sets it to zero. Null does nothing. */
CTFMEG_API void ctfmeg_error_clear(ctfmeg_error* error);

/** Releases a text or an array that this library returned. Null does nothing. */
CTFMEG_API void ctfmeg_free(void* memory);

/** Threads that read samples together, the caller's included, wherever a recording was opened without a
 * number of its own; 0 (as it begins): as many as pay on this machine, of the processors that this process
 * may use. */
CTFMEG_API int ctfmeg_set_threads(int threads, ctfmeg_error* error);

/** Called now and then during long work with what is done of it, 0 to 1. A result other than 0 stops the
 * work, which then fails with CTFMEG_STOPPED. */
typedef int (*ctfmeg_progress_function)(void* user, double fraction);

/* Recordings. */

/** An open dataset: its header and the files beside the samples, as they were when it was opened. */
typedef struct ctfmeg_recording ctfmeg_recording;

/** How files are read where they say one thing and existing hosts rely on another. */
enum ctfmeg_rules {
  CTFMEG_RULES_PLAIN = 0, /**< what the files say */
  CTFMEG_RULES_HOST = 1   /**< header and side files to the letter as existing hosts have them */
};

/** Called with something that was noticed about a dataset: a JSON object as in `warnings` of the header,
 * valid during the call. */
typedef void (*ctfmeg_finding_function)(void* user, const char* finding);

typedef struct ctfmeg_open_options {
  size_t size;
  int rules;   /**< a ctfmeg_rules */
  int threads; /**< that read samples of this recording; 0: as ctfmeg_set_threads() says */
  int yes;     /**< other than 0: a file is read although its name is not one of a CTF dataset's */
  /** Called by ctfmeg_open(), and by functions on this recording that notice more; may be null. */
  ctfmeg_finding_function on_finding;
  void* user; /**< passed to on_finding */
} ctfmeg_open_options;

/** Opens the dataset that `path` belongs to: a `.ds` directory, or a file of a dataset. No sample is read.
 * `options` may be null. Close the recording with ctfmeg_close(). */
CTFMEG_API int ctfmeg_open(const char* path, const ctfmeg_open_options* options, ctfmeg_recording** recording,
                           ctfmeg_error* error);

/** Where the files of a dataset are, when they are not files of this machine. Callbacks that return an int
 * return CTFMEG_OK or a ctfmeg_kind, and may write a sentence of why, with its zero byte, to `text`, which
 * has `room` bytes. They may be called from several threads at once. */
typedef struct ctfmeg_store {
  size_t size;
  /** How the dataset's directory is named to people, such as a URL; its last part is the dataset's name, with
   * or without ".ds". A file is then `path`/name. */
  const char* path;
  void* user; /**< passed to each callback */
  /** Calls `add(names, name)` with the name of each file. May be null where nothing can be listed. */
  int (*list)(void* user, void (*add)(void* names, const char* name), void* names, char* text, size_t room);
  /** Bytes of a file; CTFMEG_NOT_FOUND, without a sentence, where there is none of that name. */
  int (*size_of)(void* user, const char* name, uint64_t* bytes, char* text, size_t room);
  /** Reads `bytes` bytes from `offset` on into `out` and says in `done` how many there were: fewer only at
   * the file's end. */
  int (*read_at)(void* user, const char* name, uint64_t offset, void* out, size_t bytes, size_t* done,
                 char* text, size_t room);
  /** Called once, when nothing uses the store any more, on any thread; also where opening fails. May be null.
   */
  void (*release)(void* user);
} ctfmeg_store;

/** Opens a dataset in a store, which is copied. Its resource file is the one with the name of the directory,
 * else the only one that is listed. */
CTFMEG_API int ctfmeg_open_store(const ctfmeg_store* store, const ctfmeg_open_options* options,
                                 ctfmeg_recording** recording, ctfmeg_error* error);

/** Closes a recording. Null does nothing. */
CTFMEG_API int ctfmeg_close(ctfmeg_recording* recording, ctfmeg_error* error);

/** The header and what the side files say, as `ctfmeg info --json` prints it: a JSON object of schema 1.
 * Units and frames are in its `units` and `frames`. Looks at the lengths of the sample files and at two
 * samples of each trial's clock. */
CTFMEG_API int ctfmeg_header(ctfmeg_recording* recording, char** json, ctfmeg_error* error);

/** The datasets at or below a directory, as `ctfmeg scan --json` prints them: a JSON list of objects. */
CTFMEG_API int ctfmeg_scan(const char* directory, ctfmeg_progress_function progress, void* user, char** json,
                           ctfmeg_error* error);

/* Views: samples of a recording. */

/** Samples that are read on demand: trials (or epochs) x channels x samples. */
typedef struct ctfmeg_view ctfmeg_view;

/** Makes a view. `selection` is a JSON object; null or "{}" is everything. Its members combine, in this
 * order; another name is refused.
 *
 *  - "trials": [0, 2]         numbers in the file, from 0; kept in file order, each once
 *  - "markers": ["tone"]      the trials in which one of them occurs
 *  - "continuous": true       the trials as one run; "gaps": "refuse" (default), "nan" or "cut"
 *  - "samples": [0, 599]      of each trial or of the run, both included; or
 *  - "seconds": [-0.1, null]  from the trigger or the run's start, both included; null: no end
 *  - "pieces": 2              each trial as so many of equal length
 *  - "step": 4                sample 0 and every fourth after it, not filtered
 *  - "channels": ["MLC*"]     full names, short names, patterns or kinds ("meg", "ref", "eeg", ...); in the
 *                             dataset's order, each once
 *  - "exclude": ["bad"]       likewise, taken out; "bad": those that the dataset marks as bad
 *  - "partial": "nan"|"drop"  a last trial that is cut short counts; what it lacks is NaN, or those channels
 * are left out. Without it that trial is left out
 *  - "compensation": 3        gradient order to which MEG channels are brought
 *  - "decimate": 4            every fourth sample, after a zero-phase low-pass filter
 *  - "epochs": {"markers": ["tone"], "from": -0.1, "to": 0.4, "baseline": [-0.1, 0], "skipBad": true,
 *               "reject": {"meg": 4e-12}}
 *                             in the place of trials, seconds from each occurrence. In the place of "markers"
 *                             may be "occurrences": [{"name": "tone", "trial": 0, "sample": 120}]
 *  - "average": true          of all trials or epochs: trial 0 is their mean, trial 1 its standard error
 *
 * Samples are read only where epochs are rejected by their values; `progress` is about these. Close the view
 * with ctfmeg_view_close(). */
CTFMEG_API int ctfmeg_select(ctfmeg_recording* recording, const char* selection,
                             ctfmeg_progress_function progress, void* user, ctfmeg_view** view,
                             ctfmeg_error* error);

/** Closes a view. Null does nothing. */
CTFMEG_API int ctfmeg_view_close(ctfmeg_view* view, ctfmeg_error* error);

/** Trials, channels and samples of a view. A run has one trial. */
CTFMEG_API int ctfmeg_shape(ctfmeg_view* view, int64_t shape[3], ctfmeg_error* error);

/** What a view holds, as JSON: `shape`; `isRun`; `hasRaw`: whether it can be read as integers; `channels`,
 * each with `index` (place in the dataset), `name`, `shortName`, `kind`, `unit` (of physical values) and
 * `good`; `sampleRate` in Hz; `times`: {"first", "step"} in seconds; `trials`: for each its `origin`
 * {"trial", "firstSample", "step"} and for an epoch `marker`, `sample` and `timeMs` of its occurrence;
 * `pieces` and `gaps` of a run; `epochs`: how many were averaged, else null; `leftOut`: {"incomplete", "bad",
 * "rejected"} epochs; `warnings`. */
CTFMEG_API int ctfmeg_describe(ctfmeg_view* view, char** json, ctfmeg_error* error);

/** Seconds of the `count` first samples of a trial of a view: from the trigger, from the occurrence that an
 * epoch is about, or from the start of a run. `count` is at most the samples of a trial. */
CTFMEG_API int ctfmeg_times(ctfmeg_view* view, int64_t trial, double* seconds, int64_t count,
                            ctfmeg_error* error);

/** Places in a view of the channels that a selection chooses: a JSON object of "channels" and "exclude" as
 * for ctfmeg_select(). Writes their number to `count`, and as many of them as there is `room` for to
 * `places`, which may be null where `room` is 0. */
CTFMEG_API int ctfmeg_find_channels(ctfmeg_view* view, const char* selection, int64_t* places, int64_t room,
                                    int64_t* count, ctfmeg_error* error);

/** The type of values in memory. */
enum ctfmeg_type { CTFMEG_INT32 = 0, CTFMEG_FLOAT32 = 1, CTFMEG_FLOAT64 = 2 };

/** As what values are read. */
enum ctfmeg_values {
  CTFMEG_RAW = 0,     /**< the converter's integers */
  CTFMEG_PHYSICAL = 1 /**< raw / gain, in each channel's unit: tesla, volt, seconds, metres */
};

/** Part of a view. */
typedef struct ctfmeg_part {
  size_t size;
  const int64_t* trials;   /**< places in the view, in any order; null: all */
  int64_t trial_count;     /**< of them; without them it does not count */
  const int64_t* channels; /**< likewise */
  int64_t channel_count;
  int64_t first;   /**< sample, from 0 */
  int64_t samples; /**< how many; -1: all up to the end */
  int64_t step;    /**< samples of the view from one to the next, from 1; 0 counts as 1 */
} ctfmeg_part;

/** Reads a part of a view (null: all) into `out`, which has room for `bytes` bytes: trial by trial, channel
 * by channel, sample by sample, without gaps. Integers are raw values. Missing values are NaN; a view that
 * has some, or whose values are computed, can't be read raw. Nothing is promised about `out` after a failure.
 * `progress` may be null. */
CTFMEG_API int ctfmeg_read(ctfmeg_view* view, const ctfmeg_part* part, int type, int values, void* out,
                           size_t bytes, ctfmeg_progress_function progress, void* user, ctfmeg_error* error);

/** The least and the greatest physical value of each of `width` pixels that `samples` samples of a trial from
 * `first` on are drawn in (-1: up to the end): channels x width values each, NaN where all are missing.
 * `count` is for how many values there is room in each. A view remembers the extremes of blocks of 1024
 * samples, so that what is drawn again is hardly read again. `progress`, which may be null, can stop this;
 * the fraction is always 0. */
CTFMEG_API int ctfmeg_min_max(ctfmeg_view* view, int64_t trial, int64_t first, int64_t samples, int64_t width,
                              double* min, double* max, int64_t count, ctfmeg_progress_function progress,
                              void* user, ctfmeg_error* error);

/** A change of a stimulus channel. */
typedef struct ctfmeg_event {
  int32_t channel;   /**< place in the dataset */
  uint32_t value;    /**< of the bits that count, from this sample on */
  uint32_t previous; /**< before it */
  int32_t trial;     /**< number in the file, from 0 */
  int64_t sample;    /**< of that trial, from 0: the first that has the value */
  double time;       /**< seconds from the trigger */
  double run_time;   /**< seconds from the first sample of trial 0, gaps included where a clock shows them */
  double duration;   /**< seconds to the next change of any kind, or to the end of the run */
} ctfmeg_event;

/** Changes of stimulus channels, over adjoining trials as one run. `selection` as for ctfmeg_select(), of
 * trials, channels (without them: all of kind `stim`), a span and a step; with "mask": 255 only these bits
 * count, and "edge" is "rising" (default), "falling" or "both". */
CTFMEG_API int ctfmeg_events(ctfmeg_recording* recording, const char* selection,
                             ctfmeg_progress_function progress, void* user, ctfmeg_event** events,
                             int64_t* count, ctfmeg_error* error);

/** What is wrong with a channel's samples, each a bit of ctfmeg_channel_statistics::faults. */
enum ctfmeg_fault { CTFMEG_FLAT = 1, CTFMEG_CLIPPED = 2, CTFMEG_JUMPS = 4, CTFMEG_NOISY = 8 };

/** What the samples of one channel are like; as `ctfmeg stats` prints it. */
typedef struct ctfmeg_channel_statistics {
  int64_t samples;            /**< that are not missing */
  double min, max, mean, std; /**< of physical values; NaN where there is no sample */
  int64_t flat;               /**< samples in the longest run of equal ones */
  int64_t clipped;            /**< samples at the ends of the converter */
  int64_t jumps;              /**< steps that no signal makes */
  double noise;               /**< times the median of its kind; 0 where it is not compared */
  uint32_t faults;            /**< a sum of ctfmeg_fault */
  uint32_t reserved;          /**< 0 */
} ctfmeg_channel_statistics;

/** An entry for each channel of a view, in its order. Reads all of its samples. */
CTFMEG_API int ctfmeg_statistics(ctfmeg_view* view, ctfmeg_progress_function progress, void* user,
                                 ctfmeg_channel_statistics** statistics, int64_t* count, ctfmeg_error* error);

/* Copies with changes. `dataset` is a path as for ctfmeg_open(), and what it leads to is never changed. A
 * copy is a new ".ds" directory, built beside its place and read back; it appears whole or not at all.
 * CTFMEG_REFUSED where something is there already. `progress` may be null.
 *
 * Options are a JSON object; null or "{}" is none, and a member of another name is refused.
 *
 * `report`, which may be null, becomes a JSON object: "dataset": what was written; "changes": for each file,
 * and each field or sort of lines in it, {"file", "field" (null: the file as a whole), "what": "kept",
 * "removed", "shifted" or "replaced", "count"}, never with a value; "warnings" as those of the header. */

/** Copies a dataset under the name of `out`: directory, files, and the dataset's name and path in them. */
CTFMEG_API int ctfmeg_rename(const char* dataset, const char* out, ctfmeg_progress_function progress,
                             void* user, char** report, ctfmeg_error* error);

/** Copies a dataset without what can name a person. `options`:
 *
 *  - "subject": "01"       takes the place of the subject's name and number
 *  - "shiftDays": -1000    added to each date; without it dates are removed, unless
 *  - "keepDates": true
 *  - "keep": ["notes.txt"] files that are copied though nothing is known about them
 *  - "keepNames": true     names of channels, electrodes, markers and classes stay even where one holds what
 *                          was removed elsewhere
 *
 * The report has also "names": {"channels", "electrodes", "markers", "classes"} that stay, for somebody to
 * look at. */
CTFMEG_API int ctfmeg_anonymise(const char* dataset, const char* out, const char* options,
                                ctfmeg_progress_function progress, void* user, char** report,
                                ctfmeg_error* error);

/** Copies the part of a dataset that a selection leaves: "trials", "markers", "samples" or "seconds",
 * "channels", "exclude" and "partial": "drop" as for ctfmeg_select(). What makes other samples of those that
 * are stored is refused. Null copies the trials that are there whole. */
CTFMEG_API int ctfmeg_crop(const char* dataset, const char* out, const char* selection,
                           ctfmeg_progress_function progress, void* user, char** report, ctfmeg_error* error);

/** Puts marks into a dataset itself. Each file that changes is replaced at once, and the one before stays
 * beside it with ".bak" (of MarkerFile.mrk: ".1.bak") after its name. Recordings that are open do not notice.
 * `marks`:
 *
 *  - "bad": ["MLC11"]    channels, chosen as for ctfmeg_select(), that are not to be used
 *  - "good": ["MLC11"]   likewise, that may be used again
 *  - "badSegments": [{"trial": 3, "start": 0.5, "end": 1.25}]    seconds from the trial's start
 *  - "marker": "spike", "occurrences": [{"trial": 0, "seconds": 0.2}]    from the trigger; a marker is made
 *                        where there is none of that name */
CTFMEG_API int ctfmeg_mark(const char* dataset, const char* marks, char** report, ctfmeg_error* error);

/** Copies a dataset to its place in a study of the BIDS standard, a directory that may be there already, and
 * adds what belongs beside it. `options`: "subject" and "task", labels of letters and digits; "session" and
 * "run": "1", likewise and not needed; "lineFrequency" of the mains, in Hz; "anonymise": an object as for
 * ctfmeg_anonymise(), without which names stay. The report is that of ctfmeg_anonymise(). */
CTFMEG_API int ctfmeg_bids(const char* dataset, const char* study, const char* options,
                           ctfmeg_progress_function progress, void* user, char** report, ctfmeg_error* error);

#ifdef __cplusplus
}
#endif

#endif
