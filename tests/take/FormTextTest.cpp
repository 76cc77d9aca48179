#include "Vintra/take/FormText.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(FormTextTest, aFormKeepsLettersAndNumbersOfEveryScript) {
    EXPECT_EQ(FormText::formEncoded("Grüße-Ω_7.~"), "Grüße-Ω_7.~");
    EXPECT_EQ(FormText::formEncoded("a b&c=d+e%\n"), "a%20b%26c%3Dd%2Be%25%0A");
    EXPECT_EQ(FormText::formEncoded("€—…"), "%E2%82%AC%E2%80%94%E2%80%A6") << "signs are no letters";
    EXPECT_EQ(FormText::formEncoded("٣½"), "٣½") << "numbers of other kinds";
}

TEST(FormTextTest, whatIsNoTextBecomesEmpty) {
    EXPECT_EQ(FormText::formEncoded("a\xFFz"), "");
    EXPECT_EQ(FormText::formEncoded("a\xC3"), "");
}

TEST(FormTextTest, aQueryEncodesEveryByteThatIsNotPlain) {
    EXPECT_EQ(FormText::queryEncoded("Grü 1"), "Gr%C3%BC%201");
}

TEST(FormTextTest, fieldsAreJoined) {
    EXPECT_EQ(FormText::body({{"form-name", "x y"}, {"näme", "=&"}}), "form-name=x%20y&näme=%3D%26");
    EXPECT_EQ(FormText::body({}), "");
}

} // namespace
} // namespace vintra
