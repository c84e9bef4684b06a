// Thrown - runs a call and gives the integer that it threw, or 0.
#pragma once

template <class Call>
int thrownBy(Call&& call) {
  try {
    call();
    return 0;
  } catch (int code) {
    return code;
  }
}
