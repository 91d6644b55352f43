// What a class may have asked before its objects go, for every room.
#ifndef Y3PRAMO_FOUNDATION_YOB_INTERNO_HPP
#define Y3PRAMO_FOUNDATION_YOB_INTERNO_HPP

#include <3pramo/foundation/YOb.h>

namespace pramo {

/// Says to YliberaObjeto, before the first destructor of an object of the class or of one derived from it,
/// whether it may go now. False: somebody still uses it, and whoever does so last frees it. It may raise: the
/// object then stays as it was.
using PodeLiberar = bool (*)(void *objeto);

/// A static of namespace scope: enters a class's question while the library is loaded. Few classes have one.
struct AntesDeLiberar {
    AntesDeLiberar(const YRtti &deQual, PodeLiberar pergunta);
    AntesDeLiberar(const AntesDeLiberar &) = delete;
    AntesDeLiberar &operator=(const AntesDeLiberar &) = delete;

    const YRtti *classe;
    PodeLiberar pode;
    const AntesDeLiberar *seguinte;
};

} // namespace pramo

#endif
