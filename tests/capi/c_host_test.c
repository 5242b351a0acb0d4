/* A host in C: reads a simulated dataset through the C interface and compares with the bytes of its sample
 * file, misuses every function, and reads from many threads while handles are closed and the process forks.
 *   c_host_test DATASET     of "NAME.ds" with 3 trials, 20 channels, 240 samples; order 3 stored or not
 */

#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <ctfmeg/ctfmeg.h>

#ifdef _WIN32
#include <direct.h>
#else
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

enum { kTrials = 3, kChannels = 20, kSamples = 240, kAll = kTrials * kChannels * kSamples };

static int failures;
static const char* dataset;
static int32_t stored[kAll]; /* of the sample file, by hand */

static void check(int ok, int line, const char* text) {
  if (ok) return;
  if (++failures > 20) return;
  fprintf(stderr, "line %d: not so: %s\n", line, text);
}
#define CHECK(condition) check((condition) != 0, __LINE__, #condition)

/* The error of a call that must fail: its kind, and a word of its sentence. */
static void check_failed(int status, int kind, const char* word, ctfmeg_error* error, int line) {
  const int ok = status == kind && error->kind == kind && error->text != NULL && error->path != NULL &&
                 error->findings != NULL && strstr(error->text, word) != NULL;
  if (!ok)
    fprintf(stderr, "line %d: %s %s (%s)\n", line, ctfmeg_kind_name(status),
            error->text ? error->text : "without a text", word);
  check(ok, line, "it fails for that reason");
  ctfmeg_error_clear(error);
}
#define FAILS(call, kind, word) check_failed(call, kind, word, &error, __LINE__)

static char* path_in(const char* name) {
  static char path[4096];
  snprintf(path, sizeof path, "%s/%s", dataset, name);
  return path;
}

/* "NAME.EXTENSION" for the dataset DIRECTORY/NAME.ds. */
static const char* own_file(const char* extension) {
  static char name[256];
  const char* last = strrchr(dataset, '/');
  snprintf(name, sizeof name, "%s", last == NULL ? dataset : last + 1);
  strcpy(strrchr(name, '.'), extension);
  return name;
}

static void read_by_hand(void) {
  FILE* file = fopen(path_in(own_file(".meg4")), "rb");
  unsigned char bytes[4];
  CHECK(file != NULL && fseek(file, 8, SEEK_SET) == 0);
  for (int i = 0; file != NULL && i < kAll; ++i) {
    CHECK(fread(bytes, 1, 4, file) == 4);
    stored[i] =
        (int32_t)((uint32_t)bytes[0] << 24 | (uint32_t)bytes[1] << 16 | (uint32_t)bytes[2] << 8 | bytes[3]);
  }
  if (file != NULL) fclose(file);
}

static int32_t by_hand(int64_t trial, int64_t channel, int64_t sample) {
  return stored[(trial * kChannels + channel) * kSamples + sample];
}

static ctfmeg_view* select_all(ctfmeg_recording* recording) {
  ctfmeg_view* view = NULL;
  CHECK(ctfmeg_select(recording, NULL, NULL, NULL, &view, NULL) == CTFMEG_OK);
  return view;
}

/* Samples, whole and in parts. */

static void test_reading(ctfmeg_recording* recording) {
  static int32_t raw[kAll];
  ctfmeg_error error = {0};
  ctfmeg_view* view = select_all(recording);
  int64_t shape[3] = {0};
  CHECK(ctfmeg_shape(view, shape, NULL) == CTFMEG_OK);
  CHECK(shape[0] == kTrials && shape[1] == kChannels && shape[2] == kSamples);
  CHECK(ctfmeg_read(view, NULL, CTFMEG_INT32, CTFMEG_RAW, raw, sizeof raw, NULL, NULL, &error) == CTFMEG_OK);
  CHECK(memcmp(raw, stored, sizeof raw) == 0);

  /* Trials and channels in any order, one of them twice. */
  const int64_t trials[] = {2, 0}, channels[] = {5, 6, 7, 1, 5};
  const ctfmeg_part part = {.size = sizeof part,
                            .trials = trials,
                            .trial_count = 2,
                            .channels = channels,
                            .channel_count = 5,
                            .first = 11,
                            .samples = -1,
                            .step = 7};
  enum { kLeft = (kSamples - 11 + 6) / 7 };
  float some[2 * 5 * kLeft];
  CHECK(ctfmeg_read(view, &part, CTFMEG_FLOAT32, CTFMEG_RAW, some, sizeof some, NULL, NULL, NULL) ==
        CTFMEG_OK);
  for (int t = 0; t < 2; ++t)
    for (int c = 0; c < 5; ++c)
      for (int s = 0; s < kLeft; ++s)
        CHECK(some[(t * 5 + c) * kLeft + s] == (float)by_hand(trials[t], channels[c], 11 + 7 * s));

  const ctfmeg_part none = {.size = sizeof none, .samples = 0};
  CHECK(ctfmeg_read(view, &none, CTFMEG_INT32, CTFMEG_RAW, NULL, 0, NULL, NULL, NULL) == CTFMEG_OK);
  CHECK(ctfmeg_view_close(view, NULL) == CTFMEG_OK);

  /* Physical values of one channel, by its gain from the header. */
  char *json = NULL, *unit = NULL;
  CHECK(ctfmeg_header(recording, &json, &error) == CTFMEG_OK);
  const char* gain = json == NULL ? NULL : strstr(json, "\"gain\":");
  CHECK(gain != NULL);
  CHECK(ctfmeg_select(recording, "{\"trials\": [1], \"samples\": [3, 7]}", NULL, NULL, &view, &error) ==
        CTFMEG_OK);
  double values[5];
  const int64_t first = 0;
  const ctfmeg_part channel = {.size = sizeof channel, .channels = &first, .channel_count = 1, .samples = 5};
  CHECK(ctfmeg_read(view, &channel, CTFMEG_FLOAT64, CTFMEG_PHYSICAL, values, sizeof values, NULL, NULL,
                    NULL) == CTFMEG_OK);
  for (int s = 0; s < 5 && gain != NULL; ++s)
    CHECK(values[s] == by_hand(1, 0, 3 + s) / strtod(gain + strlen("\"gain\":"), NULL));
  CHECK(ctfmeg_describe(view, &unit, NULL) == CTFMEG_OK && strstr(unit, "\"isRun\": false") == NULL);
  double seconds[5];
  CHECK(ctfmeg_times(view, 0, seconds, 5, NULL) == CTFMEG_OK && seconds[1] > seconds[0]);
  ctfmeg_free(unit);
  ctfmeg_free(json);

  double least[kChannels], greatest[kChannels];
  CHECK(ctfmeg_min_max(view, 0, 0, -1, 1, least, greatest, kChannels, NULL, NULL, NULL) == CTFMEG_OK);
  for (int s = 0; s < 5; ++s)
    CHECK(least[0] <= values[s] && values[s] <= greatest[0]);
  ctfmeg_view_close(view, NULL);
}

/* Events and statistics. */

static void test_measures(ctfmeg_recording* recording) {
  ctfmeg_event* events = NULL;
  int64_t count = -1;
  CHECK(ctfmeg_events(recording, "{\"mask\": 255}", NULL, NULL, &events, &count, NULL) == CTFMEG_OK);
  CHECK(count > 0);
  for (int64_t i = 0; i < count; ++i) {
    const ctfmeg_event* event = &events[i];
    CHECK((by_hand(event->trial, event->channel, event->sample) & 255) == (int32_t)event->value);
    CHECK(event->sample == 0 ||
          (by_hand(event->trial, event->channel, event->sample - 1) & 255) == (int32_t)event->previous);
  }
  ctfmeg_free(events);

  ctfmeg_view* view = select_all(recording);
  ctfmeg_channel_statistics* statistics = NULL;
  CHECK(ctfmeg_statistics(view, NULL, NULL, &statistics, &count, NULL) == CTFMEG_OK && count == kChannels);
  CHECK(statistics != NULL && statistics[0].samples == kTrials * kSamples && statistics[0].reserved == 0);
  ctfmeg_free(statistics);
  int64_t places[kChannels];
  CHECK(ctfmeg_find_channels(view, "{\"channels\": [\"stim\"]}", places, 0, &count, NULL) == CTFMEG_OK);
  CHECK(count == 1);
  CHECK(ctfmeg_find_channels(view, NULL, places, kChannels, &count, NULL) == CTFMEG_OK);
  CHECK(count == kChannels && places[0] == 0 && places[kChannels - 1] == kChannels - 1);
  ctfmeg_view_close(view, NULL);
}

static int stop(void* user, double fraction) {
  *(double*)user = fraction;
  return 1;
}

static void test_misuse(ctfmeg_recording* recording) {
  ctfmeg_error error = {0};
  ctfmeg_recording* other = NULL;
  ctfmeg_view *view = select_all(recording), *none = NULL;
  int64_t shape[3], count;
  char* json = NULL;
  double value;
  FAILS(ctfmeg_open(NULL, NULL, &other, &error), CTFMEG_MISUSE, "path is null");
  FAILS(ctfmeg_open(dataset, NULL, NULL, &error), CTFMEG_MISUSE, "recording is null");
  FAILS(ctfmeg_open("nowhere.ds", NULL, &other, &error), CTFMEG_NOT_FOUND, "can't be read");
  const ctfmeg_open_options sizeless = {0}, wrong = {.size = sizeof wrong, .rules = 7};
  FAILS(ctfmeg_open(dataset, &sizeless, &other, &error), CTFMEG_MISUSE, "size");
  FAILS(ctfmeg_open(dataset, &wrong, &other, &error), CTFMEG_MISUSE, "rules");
  FAILS(ctfmeg_set_threads(-1, &error), CTFMEG_MISUSE, "threads");
  CHECK(other == NULL);

  FAILS(ctfmeg_header(NULL, &json, &error), CTFMEG_MISUSE, "null");
  FAILS(ctfmeg_header((ctfmeg_recording*)view, &json, &error), CTFMEG_MISUSE, "recording");
  FAILS(ctfmeg_shape((ctfmeg_view*)recording, shape, &error), CTFMEG_MISUSE, "view");
  FAILS(ctfmeg_shape((ctfmeg_view*)&shape, shape, &error), CTFMEG_MISUSE, "no such open view");
  FAILS(ctfmeg_shape(view, NULL, &error), CTFMEG_MISUSE, "null");
  FAILS(ctfmeg_times(view, 3, &value, 1, &error), CTFMEG_OUT_OF_RANGE, "trials");
  FAILS(ctfmeg_times(view, 0, &value, kSamples + 1, &error), CTFMEG_OUT_OF_RANGE, "samples");

  FAILS(ctfmeg_select(recording, "[]", NULL, NULL, &none, &error), CTFMEG_MISUSE, "object");
  FAILS(ctfmeg_select(recording, "{", NULL, NULL, &none, &error), CTFMEG_MISUSE, "JSON");
  FAILS(ctfmeg_select(recording, "{\"trails\": [1]}", NULL, NULL, &none, &error), CTFMEG_MISUSE, "trials");
  FAILS(ctfmeg_select(recording, "{\"trials\": [-1]}", NULL, NULL, &none, &error), CTFMEG_MISUSE, "from 0");
  FAILS(ctfmeg_select(recording, "{\"trials\": [99]}", NULL, NULL, &none, &error), CTFMEG_REFUSED, "99");
  FAILS(ctfmeg_select(recording, "{\"channels\": [\"MLC\"]}", NULL, NULL, &none, &error), CTFMEG_REFUSED,
        "MLC");
  FAILS(ctfmeg_select(recording, "{\"epochs\": {\"markers\": [\"tone\"], \"from\": 0}}", NULL, NULL, &none,
                      &error),
        CTFMEG_MISUSE, "to");
  FAILS(ctfmeg_events(recording, "{\"edge\": \"up\"}", NULL, NULL, NULL, &count, &error), CTFMEG_MISUSE,
        "null");
  FAILS(ctfmeg_find_channels(view, NULL, NULL, 1, &count, &error), CTFMEG_MISUSE, "places");
  CHECK(none == NULL);

  const int64_t beyond = kChannels;
  ctfmeg_part part = {.size = sizeof part, .channels = &beyond, .channel_count = 1, .samples = 1};
  FAILS(ctfmeg_read(view, &part, CTFMEG_FLOAT64, CTFMEG_RAW, &value, 8, NULL, NULL, &error),
        CTFMEG_OUT_OF_RANGE, "channels");
  part.channels = NULL;
  FAILS(ctfmeg_read(view, &part, CTFMEG_FLOAT64, CTFMEG_RAW, &value, 8, NULL, NULL, &error), CTFMEG_MISUSE,
        "room for 1 of 60");
  part.first = kSamples + 1;
  FAILS(ctfmeg_read(view, &part, CTFMEG_FLOAT64, CTFMEG_RAW, &value, 8, NULL, NULL, &error),
        CTFMEG_OUT_OF_RANGE, "samples");
  FAILS(ctfmeg_read(view, NULL, CTFMEG_INT32, CTFMEG_PHYSICAL, stored, sizeof stored, NULL, NULL, &error),
        CTFMEG_MISUSE, "raw");
  FAILS(ctfmeg_read(view, NULL, 9, CTFMEG_RAW, &value, 8, NULL, NULL, &error), CTFMEG_MISUSE, "type");
  double fraction = -1.0;
  static float all[kAll];
  FAILS(ctfmeg_read(view, NULL, CTFMEG_FLOAT32, CTFMEG_RAW, all, sizeof all, stop, &fraction, &error),
        CTFMEG_STOPPED, "stopped");
  CHECK(fraction >= 0.0 && fraction <= 1.0);
  FAILS(ctfmeg_min_max(view, 0, 0, -1, 2, &value, &value, 1, NULL, NULL, &error), CTFMEG_MISUSE, "room");

  /* A recording may go before its view, and what is closed is known as that. */
  CHECK(ctfmeg_open(dataset, NULL, &other, NULL) == CTFMEG_OK);
  none = select_all(other);
  CHECK(ctfmeg_close(other, NULL) == CTFMEG_OK);
  FAILS(ctfmeg_close(other, &error), CTFMEG_MISUSE, "no such open recording");
  CHECK(ctfmeg_read(none, NULL, CTFMEG_FLOAT32, CTFMEG_RAW, all, sizeof all, NULL, NULL, NULL) == CTFMEG_OK);
  CHECK(all[kAll - 1] == (float)stored[kAll - 1]);
  CHECK(ctfmeg_view_close(none, NULL) == CTFMEG_OK);
  FAILS(ctfmeg_shape(none, shape, &error), CTFMEG_MISUSE, "no such open view");
  CHECK(ctfmeg_close(NULL, NULL) == CTFMEG_OK && ctfmeg_view_close(NULL, NULL) == CTFMEG_OK);
  ctfmeg_view_close(view, NULL);
  CHECK(strcmp(ctfmeg_kind_name(CTFMEG_NOT_A_DATASET), "notADataset") == 0);
  CHECK(strcmp(ctfmeg_kind_name(77), "unknown") == 0);
}

/* Copies with changes. */

static char* copy_named(const char* name) {
  static char path[4096];
  snprintf(path, sizeof path, "%s/../%s", dataset, name);
  return path;
}

static int is_there(const char* path) {
  ctfmeg_recording* recording = NULL;
  const int status = ctfmeg_open(path, NULL, &recording, NULL);
  if (status == CTFMEG_OK) ctfmeg_close(recording, NULL);
  return status != CTFMEG_NOT_FOUND;
}

static void test_copies(void) {
  static int32_t raw[kAll];
  ctfmeg_error error = {0};
  char* report = NULL;
  double fraction = -1.0;
  const char* out = copy_named("c_host_copy.ds");
  FAILS(ctfmeg_rename(dataset, out, stop, &fraction, &report, &error), CTFMEG_STOPPED, "stopped");
  CHECK(fraction >= 0.0 && report == NULL && !is_there(out));
  FAILS(ctfmeg_rename(dataset, copy_named("nowhere/a.ds"), NULL, NULL, NULL, &error), CTFMEG_NOT_FOUND,
        "folder");
  FAILS(ctfmeg_rename(dataset, copy_named("copy"), NULL, NULL, NULL, &error), CTFMEG_REFUSED, ".ds");
  FAILS(ctfmeg_rename(NULL, out, NULL, NULL, NULL, &error), CTFMEG_MISUSE, "dataset is null");
  FAILS(ctfmeg_rename(dataset, NULL, NULL, NULL, NULL, &error), CTFMEG_MISUSE, "out is null");

  out = copy_named("c_host_copy.ds");
  CHECK(ctfmeg_rename(dataset, out, NULL, NULL, &report, &error) == CTFMEG_OK);
  CHECK(report != NULL && strstr(report, "{\"file\":\"c_host_copy.res4\",\"field\":null") != NULL);
  ctfmeg_free(report);
  FAILS(ctfmeg_rename(dataset, out, NULL, NULL, &report, &error), CTFMEG_REFUSED, "there already");

  ctfmeg_recording* recording = NULL;
  CHECK(ctfmeg_open(out, NULL, &recording, NULL) == CTFMEG_OK);
  ctfmeg_view* view = select_all(recording);
  CHECK(ctfmeg_read(view, NULL, CTFMEG_INT32, CTFMEG_RAW, raw, sizeof raw, NULL, NULL, NULL) == CTFMEG_OK);
  CHECK(memcmp(raw, stored, sizeof raw) == 0);
  ctfmeg_close(recording, NULL);
  ctfmeg_view_close(view, NULL);

  /* Options that make no sense, each with what the error names. */
  out = copy_named("c_host_none.ds");
  static const char* const kAnonymise[][2] = {{"{\"subjekt\": \"01\"}", "subject"},
                                              {"{\"subject\": 1}", "a text"},
                                              {"{\"shiftDays\": 2, \"keepDates\": true}", "either"},
                                              {"{\"shiftDays\": -100001}", "-100000"},
                                              {"{\"shiftDays\": 4294967297}", "-100000"},
                                              {"{\"keep\": \"hist\"}", "list"}};
  static const char* const kMark[][2] = {{NULL, "nothing to mark"},
                                         {"{\"marker\": \"spike\"}", "occurrences"},
                                         {"{\"badSegments\": [{\"trial\": 0, \"start\": 0}]}", "end"},
                                         {"{\"badSegments\": [0]}", "object"},
                                         {"{\"worse\": []}", "badSegments"}};
  static const char* const kBids[][2] = {
      {NULL, "subject"},
      {"{\"subject\": \"01\", \"task\": \"rest\", \"lineFrequency\": 0}", "above 0"},
      {"{\"subject\": \"01\", \"task\": \"rest\", \"anonymise\": true}", "object"}};
#define EACH(table, ...)                                      \
  for (size_t i = 0; i < sizeof table / sizeof *(table); ++i) \
  FAILS(__VA_ARGS__, CTFMEG_MISUSE, table[i][1])
  EACH(kAnonymise, ctfmeg_anonymise(dataset, out, kAnonymise[i][0], NULL, NULL, NULL, &error));
  EACH(kMark, ctfmeg_mark(dataset, kMark[i][0], NULL, &error));
  EACH(kBids, ctfmeg_bids(dataset, out, kBids[i][0], NULL, NULL, NULL, &error));
  FAILS(ctfmeg_crop(dataset, out, "{\"compensation\": 3}", NULL, NULL, NULL, &error), CTFMEG_MISUSE,
        "trials");
  CHECK(!is_there(out));
}

/* A store by callbacks: the same files, counted; one of them may fail. */

typedef struct files {
  int released, listed;
  const char* failing; /* reads of a file with this ending fail */
  uint64_t sample_bytes;
} files;

static int list_files(void* user, void (*add)(void* names, const char* name), void* names, char* text,
                      size_t room) {
  (void)text;
  (void)room;
  ++((files*)user)->listed;
  add(names, own_file(".res4"));
  add(names, own_file(".meg4"));
  return CTFMEG_OK;
}

static int size_of_file(void* user, const char* name, uint64_t* bytes, char* text, size_t room) {
  (void)user;
  (void)text;
  (void)room;
  FILE* file = fopen(path_in(name), "rb");
  if (file == NULL) return CTFMEG_NOT_FOUND;
  fseek(file, 0, SEEK_END);
  *bytes = (uint64_t)ftell(file);
  fclose(file);
  return CTFMEG_OK;
}

static int read_file(void* user, const char* name, uint64_t offset, void* out, size_t bytes, size_t* done,
                     char* text, size_t room) {
  files* of = user;
  if (of->failing != NULL && strstr(name, of->failing) != NULL) {
    snprintf(text, room, "is on a tape that nobody put in");
    return CTFMEG_NO_PERMISSION;
  }
  FILE* file = fopen(path_in(name), "rb");
  if (file == NULL) return CTFMEG_NOT_FOUND;
  fseek(file, (long)offset, SEEK_SET);
  *done = fread(out, 1, bytes, file);
  fclose(file);
  if (strstr(name, "meg4") != NULL) of->sample_bytes += *done;
  return CTFMEG_OK;
}

static void release_files(void* user) { ++((files*)user)->released; }

static void test_store(void) {
  ctfmeg_error error = {0};
  files of = {0};
  ctfmeg_store store = {.size = sizeof store,
                        .path = dataset,
                        .user = &of,
                        .list = list_files,
                        .size_of = size_of_file,
                        .read_at = read_file,
                        .release = release_files};
  const ctfmeg_open_options alone = {.size = sizeof alone, .threads = 1};
  ctfmeg_recording* recording = NULL;
  ctfmeg_view* view = NULL;
  CHECK(ctfmeg_open_store(&store, &alone, &recording, &error) == CTFMEG_OK);
  CHECK(ctfmeg_select(recording, "{\"trials\": [2], \"channels\": [\"SCLK01\"]}", NULL, NULL, &view,
                      &error) == CTFMEG_OK);
  CHECK(of.sample_bytes <= 64);
  int32_t clock[kSamples];
  CHECK(ctfmeg_read(view, NULL, CTFMEG_INT32, CTFMEG_RAW, clock, sizeof clock, NULL, NULL, NULL) ==
        CTFMEG_OK);
  CHECK(of.sample_bytes <= sizeof clock + 64);
  int found = 0;
  for (int c = 0; c < kChannels; ++c)
    found += clock[0] == by_hand(2, c, 0) && clock[kSamples - 1] == by_hand(2, c, kSamples - 1);
  CHECK(found == 1);
  of.failing = ".meg4";
  FAILS(ctfmeg_read(view, NULL, CTFMEG_INT32, CTFMEG_RAW, clock, sizeof clock, NULL, NULL, &error),
        CTFMEG_NO_PERMISSION, "tape");
  ctfmeg_close(recording, NULL);
  CHECK(of.released == 0);
  ctfmeg_view_close(view, NULL);
  CHECK(of.released == 1);

  of.failing = ".res4";
  FAILS(ctfmeg_open_store(&store, NULL, &recording, &error), CTFMEG_NO_PERMISSION, "tape");
  store.path = "somewhere/else.ds"; /* the resource file is called otherwise, and the only one */
  of.failing = NULL;
  CHECK(ctfmeg_open_store(&store, NULL, &recording, NULL) == CTFMEG_OK && of.listed > 0);
  ctfmeg_close(recording, NULL);
  store.list = NULL;
  FAILS(ctfmeg_open_store(&store, NULL, &recording, &error), CTFMEG_NOT_FOUND, "");
  store.path = NULL;
  FAILS(ctfmeg_open_store(&store, NULL, &recording, &error), CTFMEG_MISUSE, "path");
  store.path = dataset;
  store.read_at = NULL;
  FAILS(ctfmeg_open_store(&store, NULL, &recording, &error), CTFMEG_MISUSE, "read_at");
  CHECK(of.released == 6);
}

#ifndef _WIN32

/* Many threads on the same handles, some of which open and close their own, while the process forks. */

static ctfmeg_recording* shared;
static ctfmeg_view* shared_view;

static void* read_in_a_thread(void* number) {
  const int own = *(const int*)number;
  float* all = malloc(kAll * sizeof *all);
  for (int i = 0; i < 20; ++i) {
    ctfmeg_view* view = own % 2 == 0 ? shared_view : select_all(shared);
    CHECK(ctfmeg_read(view, NULL, CTFMEG_FLOAT32, CTFMEG_RAW, all, kAll * sizeof *all, NULL, NULL, NULL) ==
          CTFMEG_OK);
    CHECK(all[kAll - 1 - own] == (float)stored[kAll - 1 - own]);
    if (view != shared_view) ctfmeg_view_close(view, NULL);
  }
  free(all);
  return NULL;
}

static void test_threads(void) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
  enum { kThreads = 16, kForks = 0 }; /* their own memory is locked in a fork of a process with threads */
#else
  enum { kThreads = 16, kForks = 4 };
#endif
  pthread_t threads[kThreads];
  int numbers[kThreads];
  CHECK(ctfmeg_open(dataset, NULL, &shared, NULL) == CTFMEG_OK);
  shared_view = select_all(shared);
  for (int i = 0; i < kThreads; ++i) {
    numbers[i] = i;
    pthread_create(&threads[i], NULL, read_in_a_thread, &numbers[i]);
  }
  for (int i = 0; i < kForks; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);
      failures = 0;
      read_in_a_thread(&numbers[i]);
      _exit(failures == 0 ? 0 : 1);
    }
    int status = -1;
    CHECK(waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  for (int i = 0; i < kThreads; ++i)
    pthread_join(threads[i], NULL);
  ctfmeg_close(shared, NULL);
  ctfmeg_view_close(shared_view, NULL);
}

static void test_paths(void) {}

#else

static void test_threads(void) {}

/* A path is UTF-8, whatever letters the machine's code page has. */
static void test_paths(void) {
  const char* name = strrchr(dataset, '/') + 1;
  CHECK(_chdir(path_in("..")) == 0);
  wchar_t plain[256];
  CHECK(mbstowcs(plain, name, 256) < 256);
  CHECK(_wrename(plain, L"\u03A9 \u65E5.ds") == 0);
  ctfmeg_recording* recording = NULL;
  CHECK(ctfmeg_open("\xCE\xA9 \xE6\x97\xA5.ds", NULL, &recording, NULL) == CTFMEG_OK);
  char* json = NULL;
  CHECK(ctfmeg_header(recording, &json, NULL) == CTFMEG_OK &&
        strstr(json, "\xCE\xA9 \xE6\x97\xA5.ds") != NULL);
  ctfmeg_free(json);
  CHECK(ctfmeg_close(recording, NULL) == CTFMEG_OK);
  CHECK(_wrename(L"\u03A9 \u65E5.ds", plain) == 0);
}

#endif

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  dataset = argv[1];
  CHECK(ctfmeg_abi_version() == CTFMEG_ABI_VERSION);
  read_by_hand();
  ctfmeg_recording* recording = NULL;
  ctfmeg_error error = {0};
  if (ctfmeg_open(dataset, NULL, &recording, &error) != CTFMEG_OK) {
    fprintf(stderr, "%s\n", error.text);
    return 1;
  }
  test_reading(recording);
  test_measures(recording);
  test_misuse(recording);
  test_copies();
  test_store();
  test_threads();
  test_paths();
  ctfmeg_close(recording, NULL);
  ctfmeg_error_clear(&error);
  if (failures > 0) fprintf(stderr, "%d checks failed\n", failures);
  return failures == 0 ? 0 : 1;
}
