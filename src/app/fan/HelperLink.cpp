#include "HelperLink.h"

// The interface has no code of its own; this file gives its signals a home (moc).
