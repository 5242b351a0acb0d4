/* Prints one channel of one trial in its physical unit: a line a sample, seconds from the trigger and value.
 *   read_window DATASET CHANNEL [TRIAL]
 * Everything goes through the C interface, as other languages use it. */

#include <stdio.h>
#include <stdlib.h>

#include <ctfmeg/ctfmeg.h>

static void say_why(const ctfmeg_error* error) {
  fprintf(stderr, "%s%s%s\n", error->path, error->path[0] ? ": " : "", error->text);
}

/* Reads the samples of the view, one trial of one channel, and prints them. */
static int print_view(ctfmeg_view* view, ctfmeg_error* error) {
  int64_t shape[3];
  int status = ctfmeg_shape(view, shape, error);
  if (status != CTFMEG_OK) return status;
  const size_t bytes = (size_t)shape[2] * sizeof(double);
  double *values = malloc(bytes), *seconds = malloc(bytes);
  if (values != NULL && seconds != NULL) {
    status = ctfmeg_read(view, NULL, CTFMEG_FLOAT64, CTFMEG_PHYSICAL, values, bytes, NULL, NULL, error);
    if (status == CTFMEG_OK) status = ctfmeg_times(view, 0, seconds, shape[2], error);
    for (int64_t i = 0; i < shape[2] && status == CTFMEG_OK; ++i)
      printf("%.6f %.9e\n", seconds[i], values[i]);
  }
  free(values);
  free(seconds);
  return status;
}

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) {
    fprintf(stderr, "read_window DATASET CHANNEL [TRIAL]\n");
    return 2;
  }
  if (ctfmeg_abi_version() != CTFMEG_ABI_VERSION) {
    fprintf(stderr, "this library is not the one that read_window was compiled for\n");
    return 1;
  }
  char selection[256];
  snprintf(selection, sizeof selection, "{\"trials\": [%d], \"channels\": [\"%s\"]}",
           argc == 4 ? atoi(argv[3]) : 0, argv[2]);

  ctfmeg_error error = {0};
  ctfmeg_recording* recording = NULL;
  ctfmeg_view* view = NULL;
  int status = ctfmeg_open(argv[1], NULL, &recording, &error);
  if (status == CTFMEG_OK) status = ctfmeg_select(recording, selection, NULL, NULL, &view, &error);
  if (status == CTFMEG_OK) status = print_view(view, &error);
  if (status != CTFMEG_OK) say_why(&error);
  ctfmeg_view_close(view, NULL);
  ctfmeg_close(recording, NULL);
  ctfmeg_error_clear(&error);
  return status == CTFMEG_OK ? 0 : 1;
}
