#pragma once

#include <lcms2.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace platen_test {

// An ICC profile of plain inks: red is what cyan and black leave of it, and so on; with a table of 5 x 5 x 5 x 5.
inline std::vector<std::uint8_t> CmykProfile() {
    cmsHPROFILE rgb = cmsCreate_sRGBProfile();
    cmsHPROFILE lab = cmsCreateLab4Profile(nullptr);
    cmsHTRANSFORM toLab =
        cmsCreateTransform(rgb, TYPE_RGB_16, lab, TYPE_Lab_16, INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE);
    const auto sample = [](const cmsUInt16Number in[], cmsUInt16Number out[], void* transform) -> cmsInt32Number {
        cmsUInt16Number pixel[3];
        for (int i = 0; i < 3; ++i) {
            const double left = (1 - in[i] / 65535.0) * (1 - in[3] / 65535.0);
            pixel[i] = static_cast<cmsUInt16Number>(left * 65535.0 + 0.5);
        }
        cmsDoTransform(transform, pixel, out, 1);
        return TRUE;
    };
    cmsStage* table = cmsStageAllocCLut16bit(nullptr, 5, 4, 3, nullptr);
    cmsStageSampleCLut16bit(table, sample, toLab, 0);
    cmsPipeline* pipeline = cmsPipelineAlloc(nullptr, 4, 3);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 4, nullptr));
    cmsPipelineInsertStage(pipeline, cmsAT_END, table);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
    cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 4.3);
    cmsSetDeviceClass(profile, cmsSigOutputClass);
    cmsSetColorSpace(profile, cmsSigCmykData);
    cmsSetPCS(profile, cmsSigLabData);
    cmsMLU* name = cmsMLUalloc(nullptr, 1);
    cmsMLUsetASCII(name, "en", "US", "plain inks");
    cmsWriteTag(profile, cmsSigProfileDescriptionTag, name);
    cmsWriteTag(profile, cmsSigAToB0Tag, pipeline);
    cmsUInt32Number bytes = 0;
    cmsSaveProfileToMem(profile, nullptr, &bytes);
    std::vector<std::uint8_t> saved(bytes);
    cmsSaveProfileToMem(profile, saved.data(), &bytes);
    cmsMLUfree(name);
    cmsPipelineFree(pipeline);
    cmsCloseProfile(profile);
    cmsDeleteTransform(toLab);
    cmsCloseProfile(lab);
    cmsCloseProfile(rgb);
    return saved;
}

}  // namespace platen_test
