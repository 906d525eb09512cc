// Every exported form of the arithmetic family as a table of entry points,
// expanded from the library's forms tables, for tests that run them all.
#pragma once

#include <string>
#include <vector>

#include "nyx.h"
#include "pixel/arith_forms.h"

namespace nyx::test {

#define NYX_TEST_CH_C1 1
#define NYX_TEST_CH_C3 3
#define NYX_TEST_CH_C4 4
#define NYX_TEST_CH_AC4 4
#define NYX_TEST_ALPHA_C1 false
#define NYX_TEST_ALPHA_C3 false
#define NYX_TEST_ALPHA_C4 false
#define NYX_TEST_ALPHA_AC4 true
// The constants of a form as the entry takes them: C1 by value.
#define NYX_TEST_CARG_C1(v) (v)[0]
#define NYX_TEST_CARG_C3(v) (v)
#define NYX_TEST_CARG_C4(v) (v)
#define NYX_TEST_CARG_AC4(v) (v)

// Two images; float forms ignore the scale factor.
template <class T>
struct BinaryForm {
  const char* name;
  int channels;
  bool alpha;
  NyxStatus (*plain)(const T*, int, const T*, int, T*, int, NyxiSize, int);
  NyxStatus (*inplace)(const T*, int, T*, int, NyxiSize, int);
  NyxStatus (*plain_l)(const T*, NyxSizeL, const T*, NyxSizeL, T*, NyxSizeL, NyxiSizeL, int);
  NyxStatus (*inplace_l)(const T*, NyxSizeL, T*, NyxSizeL, NyxiSizeL, int);  // null: none
};

// An image and constants (values[c] for channel c).
template <class T>
struct ConstForm {
  const char* name;
  int channels;
  bool alpha;
  NyxStatus (*plain)(const T*, int, const T*, T*, int, NyxiSize, int);
  NyxStatus (*inplace)(const T*, T*, int, NyxiSize, int);
  NyxStatus (*plain_l)(const T*, NyxSizeL, const T*, T*, NyxSizeL, NyxiSizeL, int);
  NyxStatus (*inplace_l)(const T*, T*, NyxSizeL, NyxiSizeL, int);
};

#define NYX_TEST_BIN_SFS(Op, T, D)                                                       \
  BinaryForm<Nyx##T>{#Op "_" #T "_" #D, NYX_TEST_CH_##D, NYX_TEST_ALPHA_##D,           \
                     &nyxi##Op##_##T##_##D##RSfs, &nyxi##Op##_##T##_##D##IRSfs,         \
                     &nyxi##Op##_##T##_##D##RSfs_L, &nyxi##Op##_##T##_##D##IRSfs_L},
#define NYX_TEST_BIN_F32(Op, D)                                                                  \
  BinaryForm<Nyx32f>{                                                                            \
      #Op "_32f_" #D, NYX_TEST_CH_##D, NYX_TEST_ALPHA_##D,                                       \
      [](const Nyx32f* a, int as, const Nyx32f* b, int bs, Nyx32f* d, int ds, NyxiSize r, int) { \
        return nyxi##Op##_32f_##D##R(a, as, b, bs, d, ds, r);                                    \
      },                                                                                         \
      [](const Nyx32f* a, int as, Nyx32f* d, int ds, NyxiSize r, int) {                          \
        return nyxi##Op##_32f_##D##IR(a, as, d, ds, r);                                          \
      },                                                                                         \
      [](const Nyx32f* a, NyxSizeL as, const Nyx32f* b, NyxSizeL bs, Nyx32f* d, NyxSizeL ds,     \
         NyxiSizeL r, int) { return nyxi##Op##_32f_##D##R_L(a, as, b, bs, d, ds, r); },          \
      [](const Nyx32f* a, NyxSizeL as, Nyx32f* d, NyxSizeL ds, NyxiSizeL r, int) {               \
        return nyxi##Op##_32f_##D##IR_L(a, as, d, ds, r);                                        \
      }},
#define NYX_TEST_CONST_SFS(Op, T, D)                                                           \
  ConstForm<Nyx##T>{                                                                           \
      #Op "_" #T "_" #D, NYX_TEST_CH_##D, NYX_TEST_ALPHA_##D,                                  \
      [](const Nyx##T* s, int ss, const Nyx##T* v, Nyx##T* d, int ds, NyxiSize r, int sf) {    \
        return nyxi##Op##_##T##_##D##RSfs(s, ss, NYX_TEST_CARG_##D(v), d, ds, r, sf);          \
      },                                                                                       \
      [](const Nyx##T* v, Nyx##T* d, int ds, NyxiSize r, int sf) {                             \
        return nyxi##Op##_##T##_##D##IRSfs(NYX_TEST_CARG_##D(v), d, ds, r, sf);                \
      },                                                                                       \
      [](const Nyx##T* s, NyxSizeL ss, const Nyx##T* v, Nyx##T* d, NyxSizeL ds, NyxiSizeL r,   \
         int sf) { return nyxi##Op##_##T##_##D##RSfs_L(s, ss, NYX_TEST_CARG_##D(v), d, ds, r, sf); }, \
      [](const Nyx##T* v, Nyx##T* d, NyxSizeL ds, NyxiSizeL r, int sf) {                       \
        return nyxi##Op##_##T##_##D##IRSfs_L(NYX_TEST_CARG_##D(v), d, ds, r, sf);              \
      }},
#define NYX_TEST_CONST_F32(Op, D)                                                              \
  ConstForm<Nyx32f>{                                                                           \
      #Op "_32f_" #D, NYX_TEST_CH_##D, NYX_TEST_ALPHA_##D,                                     \
      [](const Nyx32f* s, int ss, const Nyx32f* v, Nyx32f* d, int ds, NyxiSize r, int) {       \
        return nyxi##Op##_32f_##D##R(s, ss, NYX_TEST_CARG_##D(v), d, ds, r);                   \
      },                                                                                       \
      [](const Nyx32f* v, Nyx32f* d, int ds, NyxiSize r, int) {                                \
        return nyxi##Op##_32f_##D##IR(NYX_TEST_CARG_##D(v), d, ds, r);                         \
      },                                                                                       \
      [](const Nyx32f* s, NyxSizeL ss, const Nyx32f* v, Nyx32f* d, NyxSizeL ds, NyxiSizeL r,   \
         int) { return nyxi##Op##_32f_##D##R_L(s, ss, NYX_TEST_CARG_##D(v), d, ds, r); },      \
      [](const Nyx32f* v, Nyx32f* d, NyxSizeL ds, NyxiSizeL r, int) {                          \
        return nyxi##Op##_32f_##D##IR_L(NYX_TEST_CARG_##D(v), d, ds, r);                       \
      }},

// Forms of one operation over the integer types.
#define NYX_TEST_SFS_OF(T, Op, MAKE) \
  MAKE(Op, T, C1) MAKE(Op, T, C3) MAKE(Op, T, C4) MAKE(Op, T, AC4)
#define NYX_TEST_F32_OF(Op, MAKE) MAKE(Op, C1) MAKE(Op, C3) MAKE(Op, C4) MAKE(Op, AC4)

template <class T>
std::vector<BinaryForm<T>> BinaryForms(const char* op);
template <class T>
std::vector<ConstForm<T>> ConstForms(const char* op);

#define NYX_TEST_FORM_LISTS(T)                                                               \
  template <>                                                                                \
  inline std::vector<BinaryForm<Nyx##T>> BinaryForms<Nyx##T>(const char* op) {               \
    const std::string o = op;                                                                \
    if (o == "Add") return {NYX_TEST_SFS_OF(T, Add, NYX_TEST_BIN_SFS)};                      \
    if (o == "Sub") return {NYX_TEST_SFS_OF(T, Sub, NYX_TEST_BIN_SFS)};                      \
    if (o == "Mul") return {NYX_TEST_SFS_OF(T, Mul, NYX_TEST_BIN_SFS)};                      \
    return {NYX_TEST_SFS_OF(T, Div, NYX_TEST_BIN_SFS)};                                      \
  }                                                                                          \
  template <>                                                                                \
  inline std::vector<ConstForm<Nyx##T>> ConstForms<Nyx##T>(const char* op) {                 \
    const std::string o = op;                                                                \
    if (o == "Add") return {NYX_TEST_SFS_OF(T, AddC, NYX_TEST_CONST_SFS)};                   \
    if (o == "Sub") return {NYX_TEST_SFS_OF(T, SubC, NYX_TEST_CONST_SFS)};                   \
    if (o == "Mul") return {NYX_TEST_SFS_OF(T, MulC, NYX_TEST_CONST_SFS)};                   \
    return {NYX_TEST_SFS_OF(T, DivC, NYX_TEST_CONST_SFS)};                                   \
  }
NYX_TEST_FORM_LISTS(8u)
NYX_TEST_FORM_LISTS(16u)
NYX_TEST_FORM_LISTS(16s)

template <>
inline std::vector<BinaryForm<Nyx32f>> BinaryForms<Nyx32f>(const char* op) {
  const std::string o = op;
  if (o == "Add") return {NYX_TEST_F32_OF(Add, NYX_TEST_BIN_F32)};
  if (o == "Sub") return {NYX_TEST_F32_OF(Sub, NYX_TEST_BIN_F32)};
  if (o == "Mul") return {NYX_TEST_F32_OF(Mul, NYX_TEST_BIN_F32)};
  return {NYX_TEST_F32_OF(Div, NYX_TEST_BIN_F32)};
}
template <>
inline std::vector<ConstForm<Nyx32f>> ConstForms<Nyx32f>(const char* op) {
  const std::string o = op;
  if (o == "Add") return {NYX_TEST_F32_OF(AddC, NYX_TEST_CONST_F32)};
  if (o == "Sub") return {NYX_TEST_F32_OF(SubC, NYX_TEST_CONST_F32)};
  if (o == "Mul") return {NYX_TEST_F32_OF(MulC, NYX_TEST_CONST_F32)};
  return {NYX_TEST_F32_OF(DivC, NYX_TEST_CONST_F32)};
}

// Div_Round: two images, a rounding mode and a scale factor; no _L forms.
template <class T>
struct DivRoundForm {
  const char* name;
  int channels;
  bool alpha;
  NyxStatus (*plain)(const T*, int, const T*, int, T*, int, NyxiSize, NyxRoundMode, int);
  NyxStatus (*inplace)(const T*, int, T*, int, NyxiSize, NyxRoundMode, int);
};
#define NYX_TEST_DIV_ROUND(T, D)                                                       \
  DivRoundForm<Nyx##T>{"Div_Round_" #T "_" #D, NYX_TEST_CH_##D, NYX_TEST_ALPHA_##D,  \
                       &nyxiDiv_Round_##T##_##D##RSfs, &nyxiDiv_Round_##T##_##D##IRSfs},

// MulScale and MulCScale (no scale factor, no _L forms).
template <class T>
struct ScaleForm {
  const char* name;
  int channels;
  bool alpha;
  NyxStatus (*plain)(const T*, int, const T*, int, T*, int, NyxiSize);
  NyxStatus (*inplace)(const T*, int, T*, int, NyxiSize);
  NyxStatus (*cplain)(const T*, int, const T*, T*, int, NyxiSize);
  NyxStatus (*cinplace)(const T*, T*, int, NyxiSize);
};
#define NYX_TEST_MUL_SCALE(T, D)                                                              \
  ScaleForm<Nyx##T>{"MulScale_" #T "_" #D, NYX_TEST_CH_##D, NYX_TEST_ALPHA_##D,             \
                    &nyxiMulScale_##T##_##D##R, &nyxiMulScale_##T##_##D##IR,                 \
                    [](const Nyx##T* s, int ss, const Nyx##T* v, Nyx##T* d, int ds, NyxiSize r) { \
                      return nyxiMulCScale_##T##_##D##R(s, ss, NYX_TEST_CARG_##D(v), d, ds, r);  \
                    },                                                                        \
                    [](const Nyx##T* v, Nyx##T* d, int ds, NyxiSize r) {                      \
                      return nyxiMulCScale_##T##_##D##IR(NYX_TEST_CARG_##D(v), d, ds, r);      \
                    }},

// MulC64f: double constants (C1 by pointer too), a hint and a rounding mode.
template <class T>
struct MulC64fForm {
  const char* name;
  int channels;
  NyxStatus (*plain)(const T*, int, const Nyx64f*, T*, int, NyxiSize, NyxHintAlgorithm,
                     NyxRoundMode);
  NyxStatus (*inplace)(const Nyx64f*, T*, int, NyxiSize, NyxHintAlgorithm, NyxRoundMode);
};
#define NYX_TEST_MULC64F(T, D)                                                       \
  MulC64fForm<Nyx##T>{"MulC64f_" #T "_" #D, NYX_TEST_CH_##D, &nyxiMulC64f_##T##_##D##R, \
                      &nyxiMulC64f_##T##_##D##IR},

}  // namespace nyx::test
