#ifndef QARN_QARNGEOMETRY_H
#define QARN_QARNGEOMETRY_H

// Every public class of the library.
#include <QARN/Exception.h>
#include <QARN/IOFailure.h>
#include <QARN/Progress/ProgressListener.h>
#include <QARN/Progress/ProgressTerminator.h>

#endif
