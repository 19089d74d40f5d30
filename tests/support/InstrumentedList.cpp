// The compiled part of std::list, for builds with MemorySanitizer: the C++ library's own isn't instrumented, so the
// links that it writes would count as never written. A program's definitions come before a shared library's.

#include <list>

namespace std::__detail {

void _List_node_base::_M_hook(_List_node_base* const position) noexcept {
    _M_next = position;
    _M_prev = position->_M_prev;
    position->_M_prev->_M_next = this;
    position->_M_prev = this;
}

void _List_node_base::_M_unhook() noexcept {
    _M_prev->_M_next = _M_next;
    _M_next->_M_prev = _M_prev;
}

}  // namespace std::__detail
