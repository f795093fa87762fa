#include "peer.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace {

cv::Mat Of(peer::Pixels &pixels, int width, int height) { return {height, width, CV_8UC4, pixels.data()}; }

/// The pixels of one color, whatever their alpha.
void FindColor(const cv::Mat &picture, cv::Mat &mask) {
    cv::inRange(picture, cv::Scalar(0x80, 0x80, 0x80, 0), cv::Scalar(0x80, 0x80, 0x80, 255), mask);
}

void Run(int argc, char **argv) {
    cv::setNumThreads(1);
    peer::Pictures pictures = peer::FromArguments(argc, argv);
    const cv::Mat photo = Of(pictures.photo, pictures.width, pictures.height);
    const cv::Mat second = Of(pictures.second, pictures.width, pictures.height);
    const cv::Mat white = Of(pictures.white, pictures.width, pictures.height);
    const cv::Mat needle = Of(pictures.needle, 64, 64);
    cv::Mat result = second.clone(); // written before, and kept by every function that it fits
    peer::Timer timer("OpenCV", pictures.photo.size());

    timer.Time("InvertKVT", "bitwise_not", "inverts alpha, too", [&] { cv::bitwise_not(photo, result); });

    cv::Mat table(1, 256, CV_8UC4);
    for (int level = 0; level < 256; ++level) {
        const std::uint8_t value = peer::TableValue(level);
        table.at<cv::Vec4b>(level) = {value, value, value, static_cast<std::uint8_t>(level)};
    }
    timer.Time("TransformColorsKVT", "LUT", "same result, and keeps alpha", [&] { cv::LUT(photo, table, result); });
    timer.Time("ChangeContrastBrightnessLinearKVT", "convertScaleAbs",
               "one factor for all channels and alpha, single precision, rounds",
               [&] { cv::convertScaleAbs(photo, result, 1.1, 5); });

    const cv::Matx44f saturation(1.16f, -0.14f, -0.02f, 0, -0.07f, 1.09f, -0.02f, 0, -0.07f, -0.14f, 1.21f, 0, 0, 0, 0,
                                 1);
    timer.Time("ChangeSaturationKVT", "transform", "a matrix in single precision, rounds",
               [&] { cv::transform(photo, result, saturation); });
    const cv::Matx44f tint(0.3f, 0.59f, 0.11f, 0, 0.26f, 0.52f, 0.1f, 0, 0.21f, 0.41f, 0.08f, 0, 0, 0, 0, 1);
    timer.Time("TintPictureKVT (general colors)", "transform", "a matrix in single precision, rounds",
               [&] { cv::transform(photo, result, tint); });

    timer.Time("MergePictureKVT", "max", "same result, and the larger alpha", [&] { cv::max(photo, second, result); });
    const std::vector<cv::Mat> two = {photo, second};
    std::vector<cv::Mat> into = {result};
    timer.Time("ReplaceRedChannelKVT", "mixChannels", "copies the other picture's red channel", [&] {
        cv::mixChannels(two, into, {4, 0, 1, 1, 2, 2, 3, 3});
    });
    const std::vector<cv::Mat> three = {photo, second, white};
    timer.Time("CombinePicturesKVT", "mixChannels", "copies a channel from each picture", [&] {
        cv::mixChannels(three, into, {0, 0, 5, 1, 10, 2, 11, 3});
    });
    const std::vector<cv::Mat> one = {photo};
    timer.Time("EmbeddedMaskKVT (read)", "mixChannels", "copies alpha to all channels", [&] {
        cv::mixChannels(one, into, {3, 0, 3, 1, 3, 2, 3, 3});
    });

    cv::Mat mask;
    timer.Time("CountColorKVT", "inRange, countNonZero", "same result", [&] {
        FindColor(photo, mask);
        volatile int count = cv::countNonZero(mask);
        static_cast<void>(count);
    });
    timer.Time("ReplaceColorKVT", "copyTo, inRange, setTo", "same result, and keeps alpha", [&] {
        photo.copyTo(result);
        FindColor(photo, mask);
        result.setTo(cv::Scalar(0x10, 0x20, 0x30, 255), mask);
    });
    timer.Time("ExtractColorKVT", "setTo, inRange, setTo", "same result", [&] {
        result.setTo(cv::Scalar(255, 255, 255, 255));
        FindColor(photo, mask);
        result.setTo(cv::Scalar(0x10, 0x20, 0x30, 255), mask);
    });

    cv::Mat histogram;
    const float range[] = {0, 256};
    const float *ranges[] = {range};
    const int bins[] = {256};
    timer.Time("CountColorsKVT (a photo)", "calcHist, three times", "counts as floats", [&] {
        for (const int channel : {0, 1, 2})
            cv::calcHist(&photo, 1, &channel, cv::Mat(), histogram, 1, bins, ranges);
    });

    cv::Mat scores;
    timer.Time(
        "FindPicture (a late hit)", "matchTemplate", "scores every place, in single precision",
        [&] { cv::matchTemplate(photo, needle, scores, cv::TM_SQDIFF); }, [] {}, 1);

    cv::Mat packed;
    cv::cvtColor(photo, packed, cv::COLOR_RGBA2RGB);
    timer.Time("PicturetoBinaryStringKVT", "cvtColor RGBA2RGB", "same bytes without a head, into old memory",
               [&] { cv::cvtColor(photo, packed, cv::COLOR_RGBA2RGB); });
    timer.Time("BinaryStringtoPictureKVT", "cvtColor RGB2RGBA", "same pixels",
               [&] { cv::cvtColor(packed, result, cv::COLOR_RGB2RGBA); });
    timer.Time("ScrollVerticalKVT (wrap-around)", "copyTo, twice", "same pixels, not in place", [&] {
        photo.rowRange(0, photo.rows - 7).copyTo(result.rowRange(7, photo.rows));
        photo.rowRange(photo.rows - 7, photo.rows).copyTo(result.rowRange(0, 7));
    });
}

} // namespace

int main(int argc, char **argv) {
    return peer::Main([&] { Run(argc, argv); });
}
