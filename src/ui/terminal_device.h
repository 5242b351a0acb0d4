#pragma once

/// Whether a person sits at the other end of standard input, standard output or standard error.
bool inputIsTerminal();
bool outputIsTerminal();
bool errorsAreTerminal();

/// Waits a little for a line at the terminal. True when one is there, or when waiting for it can't be cut
/// short here.
bool inputIsReady();
