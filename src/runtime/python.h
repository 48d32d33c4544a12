#pragma once

// The one place that includes the runtime's headers, always in the stable interface, so that one binary
// loads in every CPython from 3.10 on.

#ifndef Py_LIMITED_API
#define Py_LIMITED_API 0x030A0000
#endif
#ifndef PY_SSIZE_T_CLEAN
#define PY_SSIZE_T_CLEAN
#endif

#include <Python.h>
#include <structmember.h>
