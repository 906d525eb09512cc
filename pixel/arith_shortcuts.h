// Copies and fills that the arithmetic shortcuts turn a call into, reached
// through the implementations of the copy and set family. Samples of the same
// width share them: 16u copies and fills through the 16s forms.
#pragma once

#include "core/entry/entry.h"
#include "core/frame/frame.h"

#define NYX_ARITH_DECLARE_COPY_SET(T)                                                   \
  NYX_D1(nyxiCopy_##T##_C1R);                                                           \
  NYX_D1(nyxiCopy_##T##_C3R);                                                           \
  NYX_D1(nyxiCopy_##T##_C4R);                                                           \
  NYX_D1(nyxiCopy_##T##_AC4R);                                                          \
  NYX_D1(nyxiSet_##T##_C1R);                                                            \
  NYX_D1(nyxiSet_##T##_C3R);                                                            \
  NYX_D1(nyxiSet_##T##_C4R);                                                            \
  NYX_D1(nyxiSet_##T##_AC4R);
NYX_ARITH_DECLARE_COPY_SET(8u)
NYX_ARITH_DECLARE_COPY_SET(16s)
NYX_ARITH_DECLARE_COPY_SET(32f)
#undef NYX_ARITH_DECLARE_COPY_SET

namespace nyx::arith {

using frame::Layout;

template <class T>
using Storage = std::conditional_t<std::is_same_v<T, Nyx16u>, Nyx16s, T>;

#define NYX_ARITH_COPY_SET_AT(T)                                                           \
  template <Layout L>                                                                      \
  inline NyxStatus CopyAt(const Nyx##T* s, int ss, Nyx##T* d, int ds, NyxiSize roi) {      \
    if constexpr (L == Layout::kC1) return d1_nyxiCopy_##T##_C1R(s, ss, d, ds, roi);       \
    else if constexpr (L == Layout::kC3) return d1_nyxiCopy_##T##_C3R(s, ss, d, ds, roi);  \
    else if constexpr (L == Layout::kC4) return d1_nyxiCopy_##T##_C4R(s, ss, d, ds, roi);  \
    else return d1_nyxiCopy_##T##_AC4R(s, ss, d, ds, roi);                                 \
  }                                                                                        \
  /* Every sample of the ROI (AC4: but alpha) set to v. */                                 \
  template <Layout L>                                                                      \
  inline NyxStatus SetAllAt(Nyx##T v, Nyx##T* d, int ds, NyxiSize roi) {                   \
    const Nyx##T vs[4] = {v, v, v, v};                                                     \
    if constexpr (L == Layout::kC1) return d1_nyxiSet_##T##_C1R(v, d, ds, roi);            \
    else if constexpr (L == Layout::kC3) return d1_nyxiSet_##T##_C3R(vs, d, ds, roi);      \
    else if constexpr (L == Layout::kC4) return d1_nyxiSet_##T##_C4R(vs, d, ds, roi);      \
    else return d1_nyxiSet_##T##_AC4R(vs, d, ds, roi);                                     \
  }
NYX_ARITH_COPY_SET_AT(8u)
NYX_ARITH_COPY_SET_AT(16s)
NYX_ARITH_COPY_SET_AT(32f)
#undef NYX_ARITH_COPY_SET_AT

template <Layout L>
inline NyxStatus CopyAt(const Nyx16u* s, int ss, Nyx16u* d, int ds, NyxiSize roi) {
  return CopyAt<L>(reinterpret_cast<const Nyx16s*>(s), ss, reinterpret_cast<Nyx16s*>(d), ds, roi);
}
template <Layout L>
inline NyxStatus SetAllAt(Nyx16u v, Nyx16u* d, int ds, NyxiSize roi) {
  return SetAllAt<L>(static_cast<Nyx16s>(v), reinterpret_cast<Nyx16s*>(d), ds, roi);
}

}  // namespace nyx::arith
