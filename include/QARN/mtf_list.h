#ifndef QARN_MTF_LIST_H
#define QARN_MTF_LIST_H

#include <list>

namespace QARN {

/// A std::list with a move-to-front operation: the element that was used last is put first, so
/// that the next scan over the list tries it before the others.
template <typename T>
class mtf_list : public std::list<T> {
public:
  using std::list<T>::list;

  mtf_list() = default;
  mtf_list(mtf_list const&) = default;
  mtf_list(mtf_list&&) = default;
  mtf_list& operator=(mtf_list const&) = default;
  mtf_list& operator=(mtf_list&&) = default;
  virtual ~mtf_list() = default;

  /// Unlinks the element at position and relinks it at the head, without copying or moving the
  /// element itself: iterators and references to it stay valid.
  void move_to_front(typename std::list<T>::const_iterator position) {
    this->splice(this->cbegin(), *this, position);
  }
};

} // namespace QARN

#endif
