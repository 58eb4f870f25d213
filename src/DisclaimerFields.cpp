#include "DisclaimerFields.h"

// The order of reading decides what a record holds when a member cannot be converted.

namespace {

/// What both ways of describing a disclaimer have in the same place.
void ReadTexts(Json::Value& disclaimer, STHomeDisclaimerContentItem& item) {
    item.strTitle = disclaimer["title"].asString();
    item.strIntro = disclaimer["intro"].asString();
    item.strDetails = disclaimer["details"].asString();
    item.strButton1 = disclaimer["button1"].asString();
    item.strButton2 = disclaimer["button2"].asString();
    item.strButton3 = disclaimer["button3"].asString();
    item.strButton4 = disclaimer["button4"].asString();
    item.strButton5 = disclaimer["button5"].asString();
    item.strButton6 = disclaimer["button6"].asString();
    item.strButton7 = disclaimer["button7"].asString();
    item.strButton8 = disclaimer["button8"].asString();
}

}  // namespace

void ReadAllFields(Json::Value& disclaimer, STHomeDisclaimerContentItem& item) {
    item.strItemId = disclaimer["id"].asString();
    item.nOrder = disclaimer["order"].asInt();
    item.strVersion = disclaimer["version"].asString();
    ReadTexts(disclaimer, item);
    item.strButton9 = disclaimer["button9"].asString();
    item.strButton10 = disclaimer["button10"].asString();
    item.bIsAgreed = disclaimer["is_agreed"].asBool();
    item.bOnlyNotice = disclaimer["only_notice"].asBool();
    item.strAgreeDependency = disclaimer["agree_dependency"].asString();
    item.bPPUsed = disclaimer["ppused"].asBool();
    item.bReverse = disclaimer["reverse"].asBool();
}

void ReadRevisedFields(Json::Value& disclaimer, STHomeDisclaimerContentItem& item) {
    item.strItemId = disclaimer["id"].asString();
    ReadTexts(disclaimer, item);
    item.strAgreeDependency = disclaimer["agree_dependency"].asString();
    item.bIsAgreed = disclaimer["is_agreed"].asBool();
    item.bReverse = disclaimer["reverse"].asBool();
    item.bPPUsed = disclaimer["ppused"].asBool();
}
