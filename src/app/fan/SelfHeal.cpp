#include "SelfHeal.h"

#include <QDebug>
#include <QString>

namespace quillon::app {

SelfHeal::Release SelfHeal::check(bool helperForcesFans, bool helperHoldsLid, bool wantsFans, bool wantsLid)
{
    const Release mismatch{helperForcesFans && !wantsFans, helperHoldsLid && !wantsLid};
    if (!mismatch.fans && !mismatch.lid) {
        m_mismatches = 0;
        return {};
    }
    if (++m_mismatches <= kPatience)
        return {};
    m_mismatches = 0;
    qInfo().noquote() << QStringLiteral(
        "Quillon: self-heal — daemon forcing unintended state (fans=%1 lid=%2), releasing")
                             .arg(mismatch.fans ? "yes" : "no", mismatch.lid ? "yes" : "no");
    return mismatch;
}

} // namespace quillon::app
