#pragma once

/// Whether a person sits at the other end of standard input, standard output or standard error.
bool inputIsTerminal();
bool outputIsTerminal();
bool errorsAreTerminal();
