/* A gateway to the C interface for MATLAB. Build it there, with the library installed:
 *
 *   mex ctfmeg_mex.c -lctfmeg
 *
 *   header = jsondecode(ctfmeg_mex('header', 'run.ds'));
 *   view   = jsondecode(ctfmeg_mex('describe', 'run.ds', '{"channels": ["meg"]}'));
 *   data   = ctfmeg_mex('read', 'run.ds', '{"channels": ["meg"], "seconds": [-0.1, 0.5]}');
 *
 * `data` is samples x channels x trials, double, in SI units: MATLAB's first dimension is the one that runs
 * fastest in memory, so that nothing is moved. The third argument is the selection of ctfmeg_select(). Each
 * call opens the dataset anew, which reads its header only. */

#include <string.h>

#include <ctfmeg/ctfmeg.h>
#include <mex.h>

static ctfmeg_recording* recording;
static ctfmeg_view* view;
static ctfmeg_error error;

static void close_all(void) {
  ctfmeg_view_close(view, NULL);
  ctfmeg_close(recording, NULL);
  view = NULL;
  recording = NULL;
}

/* Reports a failure to MATLAB, which leaves this function. */
static void require_ok(int status) {
  if (status == CTFMEG_OK) return;
  char id[64], text[2048];
  snprintf(id, sizeof id, "ctfmeg:%s", ctfmeg_kind_name(status));
  snprintf(text, sizeof text, "%s: %s", error.path ? error.path : "", error.text ? error.text : "");
  close_all();
  ctfmeg_error_clear(&error);
  mexErrMsgIdAndTxt(id, "%s", text);
}

static mxArray* text_of(char* json) {
  mxArray* text = mxCreateString(json);
  ctfmeg_free(json);
  return text;
}

static mxArray* read_all(void) {
  int64_t shape[3];
  require_ok(ctfmeg_shape(view, shape, &error));
  const mwSize sizes[3] = {(mwSize)shape[2], (mwSize)shape[1], (mwSize)shape[0]};
  mxArray* data = mxCreateUninitNumericArray(3, sizes, mxDOUBLE_CLASS, mxREAL);
  const size_t bytes = (size_t)shape[0] * (size_t)shape[1] * (size_t)shape[2] * sizeof(double);
  require_ok(
      ctfmeg_read(view, NULL, CTFMEG_FLOAT64, CTFMEG_PHYSICAL, mxGetPr(data), bytes, NULL, NULL, &error));
  return data;
}

void mexFunction(int count_out, mxArray* out[], int count_in, const mxArray* in[]) {
  (void)count_out;
  if (count_in < 2 || count_in > 3)
    mexErrMsgIdAndTxt("ctfmeg:misuse", "ctfmeg_mex('header' | 'describe' | 'read', DATASET, SELECTION)");
  char command[16], path[4096], selection[8192] = "{}";
  if (mxGetString(in[0], command, sizeof command) != 0 || mxGetString(in[1], path, sizeof path) != 0 ||
      (count_in == 3 && mxGetString(in[2], selection, sizeof selection) != 0))
    mexErrMsgIdAndTxt("ctfmeg:misuse", "the arguments are texts of at most 15, 4095 and 8191 characters");
  if (ctfmeg_abi_version() != CTFMEG_ABI_VERSION)
    mexErrMsgIdAndTxt("ctfmeg:misuse", "ctfmeg_mex was built for another version of the library");

  char* json = NULL;
  require_ok(ctfmeg_open(path, NULL, &recording, &error));
  if (strcmp(command, "header") == 0) {
    require_ok(ctfmeg_header(recording, &json, &error));
    out[0] = text_of(json);
  } else {
    require_ok(ctfmeg_select(recording, selection, NULL, NULL, &view, &error));
    if (strcmp(command, "describe") == 0) {
      require_ok(ctfmeg_describe(view, &json, &error));
      out[0] = text_of(json);
    } else if (strcmp(command, "read") == 0) {
      out[0] = read_all();
    } else {
      close_all();
      mexErrMsgIdAndTxt("ctfmeg:misuse", "there is no command %s; there are header, describe and read",
                        command);
    }
  }
  close_all();
}
