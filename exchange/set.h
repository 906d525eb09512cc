// Fills used by other families (the zero shortcut of the arithmetic, the
// constant frames of the border copies). Samples of the same width share
// code: 16u fills through 16s, 32f through 32s.
#pragma once

#include "core/entry/entry.h"

NYX_D1(nyxiSet_8u_C1R);
NYX_D1(nyxiSet_8u_AC4R);
NYX_D1(nyxiSet_16s_C1R);
NYX_D1(nyxiSet_16s_AC4R);
NYX_D1(nyxiSet_32s_C1R);
NYX_D1(nyxiSet_32s_AC4R);
NYX_D1(nyxiSet_32f_C1R);
NYX_D1(nyxiSet_32f_AC4R);

namespace nyx::set {

inline NyxStatus ZeroC1(Nyx8u* dst, int step, NyxiSize roi) {
  return d1_nyxiSet_8u_C1R(0, dst, step, roi);
}
inline NyxStatus ZeroC1(Nyx16s* dst, int step, NyxiSize roi) {
  return d1_nyxiSet_16s_C1R(0, dst, step, roi);
}
inline NyxStatus ZeroC1(Nyx16u* dst, int step, NyxiSize roi) {
  return d1_nyxiSet_16s_C1R(0, reinterpret_cast<Nyx16s*>(dst), step, roi);
}
inline NyxStatus ZeroC1(Nyx32s* dst, int step, NyxiSize roi) {
  return d1_nyxiSet_32s_C1R(0, dst, step, roi);
}
inline NyxStatus ZeroC1(Nyx32f* dst, int step, NyxiSize roi) {
  return d1_nyxiSet_32f_C1R(0.0f, dst, step, roi);
}

inline NyxStatus ZeroAC4(Nyx8u* dst, int step, NyxiSize roi) {
  const Nyx8u zero[3] = {0, 0, 0};
  return d1_nyxiSet_8u_AC4R(zero, dst, step, roi);
}
inline NyxStatus ZeroAC4(Nyx16s* dst, int step, NyxiSize roi) {
  const Nyx16s zero[3] = {0, 0, 0};
  return d1_nyxiSet_16s_AC4R(zero, dst, step, roi);
}
inline NyxStatus ZeroAC4(Nyx16u* dst, int step, NyxiSize roi) {
  return ZeroAC4(reinterpret_cast<Nyx16s*>(dst), step, roi);
}
inline NyxStatus ZeroAC4(Nyx32s* dst, int step, NyxiSize roi) {
  const Nyx32s zero[3] = {0, 0, 0};
  return d1_nyxiSet_32s_AC4R(zero, dst, step, roi);
}
inline NyxStatus ZeroAC4(Nyx32f* dst, int step, NyxiSize roi) {
  const Nyx32f zero[3] = {0, 0, 0};
  return d1_nyxiSet_32f_AC4R(zero, dst, step, roi);
}

}  // namespace nyx::set
