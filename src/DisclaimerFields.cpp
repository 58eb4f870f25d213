#include "DisclaimerFields.h"

#include <variant>

namespace {

using Item = STHomeDisclaimerContentItem;

/// A member of the reply and the record's member that takes it, in that one's conversion.
struct Field {
    const char* name;
    std::variant<std::string Item::*, int Item::*, bool Item::*> member;
};

constexpr Field kId{"id", &Item::strItemId};
constexpr Field kOrder{"order", &Item::nOrder};
constexpr Field kVersion{"version", &Item::strVersion};
constexpr Field kTitle{"title", &Item::strTitle};
constexpr Field kIntro{"intro", &Item::strIntro};
constexpr Field kDetails{"details", &Item::strDetails};
constexpr Field kButton1{"button1", &Item::strButton1};
constexpr Field kButton2{"button2", &Item::strButton2};
constexpr Field kButton3{"button3", &Item::strButton3};
constexpr Field kButton4{"button4", &Item::strButton4};
constexpr Field kButton5{"button5", &Item::strButton5};
constexpr Field kButton6{"button6", &Item::strButton6};
constexpr Field kButton7{"button7", &Item::strButton7};
constexpr Field kButton8{"button8", &Item::strButton8};
constexpr Field kButton9{"button9", &Item::strButton9};
constexpr Field kButton10{"button10", &Item::strButton10};
constexpr Field kIsAgreed{"is_agreed", &Item::bIsAgreed};
constexpr Field kOnlyNotice{"only_notice", &Item::bOnlyNotice};
constexpr Field kAgreeDependency{"agree_dependency", &Item::strAgreeDependency};
constexpr Field kPPUsed{"ppused", &Item::bPPUsed};
constexpr Field kReverse{"reverse", &Item::bReverse};

// In the order of reading, which decides what a record holds when a member cannot be converted.
constexpr Field kAll[] = {
    kId,      kOrder,    kVersion,  kTitle,      kIntro,           kDetails, kButton1,
    kButton2, kButton3,  kButton4,  kButton5,    kButton6,         kButton7, kButton8,
    kButton9, kButton10, kIsAgreed, kOnlyNotice, kAgreeDependency, kPPUsed,  kReverse};
constexpr Field kRevised[] = {
    kId,      kTitle,   kIntro,   kDetails, kButton1,         kButton2,  kButton3, kButton4,
    kButton5, kButton6, kButton7, kButton8, kAgreeDependency, kIsAgreed, kReverse, kPPUsed};

void Convert(const Json::Value& value, std::string& member) {
    member = value.asString();
}

void Convert(const Json::Value& value, int& member) {
    member = value.asInt();
}

void Convert(const Json::Value& value, bool& member) {
    member = value.asBool();
}

template <std::size_t Count>
void Read(const Field (&fields)[Count], Json::Value& disclaimer, Item& item) {
    for (const Field& field : fields) {
        const Json::Value& value = disclaimer[field.name];
        std::visit([&](auto member) { Convert(value, item.*member); }, field.member);
    }
}

}  // namespace

void ReadAllFields(Json::Value& disclaimer, STHomeDisclaimerContentItem& item) {
    Read(kAll, disclaimer, item);
}

void ReadRevisedFields(Json::Value& disclaimer, STHomeDisclaimerContentItem& item) {
    Read(kRevised, disclaimer, item);
}
