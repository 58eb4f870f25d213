// What programs that exist have compiled in: the layout of the records that they share with the
// library. A change here breaks them, so it does not compile.
#include <cstddef>

#include "TermsAPI.h"
#include "TermsDbusAPI.h"
#include "VerantiAPI.h"

namespace {

constexpr std::size_t kPointer = sizeof(void*);
static_assert(sizeof(int) == 4 && (kPointer == 4 || kPointer == 8), "no set is built otherwise");

/// On 32 bits everything takes four bytes; on 64 bits a pointer stands at a multiple of eight.
constexpr std::size_t At(std::size_t on32Bits, std::size_t on64Bits) {
    return kPointer == 4 ? on32Bits : on64Bits;
}

static_assert(offsetof(TermsContentItem, strItemId) == 0);
static_assert(offsetof(TermsContentItem, nOrder) == kPointer);
static_assert(offsetof(TermsContentItem, strVersion) == 2 * kPointer);
static_assert(offsetof(TermsContentItem, strDetails) == 5 * kPointer);
static_assert(offsetof(TermsContentItem, strButton1) == 6 * kPointer);
static_assert(offsetof(TermsContentItem, strButton10) == 15 * kPointer);
static_assert(offsetof(TermsContentItem, bIsAgreed) == At(64, 128));
static_assert(offsetof(TermsContentItem, bOnlyNotice) == At(68, 132));
static_assert(offsetof(TermsContentItem, strAgreeDependency) == At(72, 136));
static_assert(offsetof(TermsContentItem, bPPUsed) == At(76, 144));
static_assert(offsetof(TermsContentItem, bReverse) == At(80, 148));
static_assert(offsetof(TermsContentItem, ppDetailData) == At(84, 152));
static_assert(offsetof(TermsContentItem, nDetailDataCount) == At(88, 160));
static_assert(sizeof(TermsContentItem) == At(92, 168));

using Item = STHomeDisclaimerContentItem;
constexpr std::size_t kItem[] = {offsetof(Item, strItemId),
                                 offsetof(Item, nOrder),
                                 offsetof(Item, strVersion),
                                 offsetof(Item, strTitle),
                                 offsetof(Item, strIntro),
                                 offsetof(Item, strDetails),
                                 offsetof(Item, strButton1),
                                 offsetof(Item, strButton2),
                                 offsetof(Item, strButton3),
                                 offsetof(Item, strButton4),
                                 offsetof(Item, strButton5),
                                 offsetof(Item, strButton6),
                                 offsetof(Item, strButton7),
                                 offsetof(Item, strButton8),
                                 offsetof(Item, strButton9),
                                 offsetof(Item, strButton10),
                                 offsetof(Item, bIsAgreed),
                                 offsetof(Item, bOnlyNotice),
                                 offsetof(Item, strAgreeDependency),
                                 offsetof(Item, bPPUsed),
                                 offsetof(Item, bReverse),
                                 offsetof(Item, vecDetailData),
                                 sizeof(Item)};

template <std::size_t Count>
constexpr bool Ascending(const std::size_t (&offsets)[Count]) {
    for (std::size_t i = 1; i < Count; ++i) {
        if (offsets[i - 1] >= offsets[i]) {
            return false;
        }
    }
    return true;
}
static_assert(Ascending(kItem));

static_assert(offsetof(TermsDbusMessage, from) == 0);
static_assert(offsetof(TermsDbusMessage, code) == kPointer);
static_assert(offsetof(TermsDbusMessage, type) == 2 * kPointer);
static_assert(offsetof(TermsDbusMessage, message) == 3 * kPointer);
static_assert(offsetof(TermsDbusMessage, buffer) == 4 * kPointer);
static_assert(offsetof(TermsDbusMessage, buffer_size) == 5 * kPointer);
static_assert(sizeof(TermsDbusMessage) == 6 * kPointer);

// The enumerations are passed as ints, and the instance is nothing but its virtual table.
static_assert(sizeof(TermsRequester) == sizeof(int));
static_assert(sizeof(TermsDbusCallbackType) == sizeof(int));
static_assert(sizeof(EHomeDisclaimerRequester) == sizeof(int));
static_assert(sizeof(CVerantiAPI) == kPointer);
static_assert(sizeof(CVerantiAPI::CErrorDescriptor) == 2 * sizeof(int));

/// Names every member: one more or one fewer does not compile.
[[maybe_unused]] void CountMembers(const TermsContentItem& item, const TermsDbusMessage& message) {
    [[maybe_unused]] const auto& [id, order, version, title, intro, details, button1, button2,
                                  button3, button4, button5, button6, button7, button8, button9,
                                  button10, agreed, notice, dependency, used, reverse, sections,
                                  count] = item;
    [[maybe_unused]] const auto& [from, code, type, text, buffer, size] = message;
}

}  // namespace
