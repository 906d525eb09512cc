// Forms of the border copies: (type, descriptor) pairs, and sample types of
// the volume forms. The same tables expand into entries, tests and benches.
#pragma once

#define NYX_COPY_BORDER_FORMS_T(X, T) X(T, C1) X(T, C3) X(T, C4) X(T, AC4)
#define NYX_COPY_BORDER_TYPES(X, F) F(X, 8u) F(X, 16u) F(X, 16s) F(X, 32s) F(X, 32f)

#define NYX_COPY_CONST_BORDER_FORMS(X) NYX_COPY_BORDER_TYPES(X, NYX_COPY_BORDER_FORMS_T)
#define NYX_COPY_REPLICATE_BORDER_FORMS(X) NYX_COPY_BORDER_TYPES(X, NYX_COPY_BORDER_FORMS_T)

#define NYX_COPY_MIRROR_BORDER_FORMS_T(X, T) X(T, C1) X(T, C3) X(T, C4)
#define NYX_COPY_MIRROR_BORDER_FORMS(X) NYX_COPY_BORDER_TYPES(X, NYX_COPY_MIRROR_BORDER_FORMS_T)

#define NYX_COPY_WRAP_BORDER_FORMS(X) X(32s, C1) X(32f, C1)

#define NYX_VOLUME_BORDER_TYPES(X) X(8u) X(16u) X(16s) X(32f) X(64f)
