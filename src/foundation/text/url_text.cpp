#include "foundation/text/url_text.h"

namespace orrery {

WideString WithoutUser(WideView url) {
    const size_t scheme = url.find(u"://");
    const size_t host = scheme == WideView::npos ? 0 : scheme + 3;
    const size_t at = url.substr(0, url.find(u'/', host)).rfind(u'@');
    if (at == WideView::npos || at < host) return WideString(url);
    return WideString(url.substr(0, host)).append(url.substr(at + 1));
}

}  // namespace orrery
