// Forms tables of the arithmetic family: (type, layout) pairs that one
// emitter macro expands into entries, tests and benchmarks.
#pragma once

#define NYX_ADD_SFS_FORMS(X) X(8u, C1) X(8u, C3) X(8u, C4) X(8u, AC4)
