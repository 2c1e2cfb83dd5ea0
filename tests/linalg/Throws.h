#ifndef QARN_TESTS_LINALG_THROWS_H
#define QARN_TESTS_LINALG_THROWS_H

// True when f throws a pointer to a new E; the pointer is deleted, as every catcher must.
template <class E, class F>
bool throwsPointer(F&& f) {
  try {
    f();
  } catch (E* e) {
    delete e;
    return true;
  }
  return false;
}

#endif
