#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

// A word list as it is read: sections in name order, each with its words in
// document order.
using Sections = QList<QPair<QString, QStringList>>;

// What each shipped word list holds, word for word. The oddities are meant:
// Python lacks elif, None and the like but has "do" and "enumerate"; C++ has
// "register(2)"; GLSL repeats "EndStreamPrimitive" and has a second
// "sampler1D" where isampler1D would be; Lua's operators are escaped patterns.
inline Sections shippedWordLists(const QString &language)
{
    const auto words = [](const char *text) {
        return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    };

    if (language == QLatin1String("python"))
        return {{"Function", words("min max len")},
                {"Keyword", words("break continue do for while if else def import return class in is not or and "
                                  "enumerate")},
                {"PrimitiveType", words("float int bool True False str unicode byte set dict")}};
    if (language == QLatin1String("lua"))
        return {{"Keyword", words("break do else elseif end false for function if in repeat return then until while")},
                {"Operator", words(R"(\+ \- \* \/ \% \^ == ~= > < >= <= and or not \.\. \#)")},
                {"Type", words("local nil boolean number string function userdata thread table")}};
    if (language == QLatin1String("cpp"))
        return {{"Keyword",
                 words("alignas alignof and and_eq asm atomic_cancel atomic_commit atomic_noexcept auto bitand bitor "
                       "break case catch class compl concept const constexpr const_cast continue co_await co_return "
                       "co_yield decltype default delete do dynamic_cast else enum explicit export extern false for "
                       "friend goto if import inline module mutable namespace new noexcept not not_eq nullptr "
                       "operator or or_eq private protected public reflexpr register(2) reinterpret_cast requires "
                       "return sizeof static static_assert static_cast struct switch synchronized template this "
                       "thread_local throw true try typedef typeid typename union using virtual volatile while xor "
                       "xor_eq")},
                {"PrimitiveType", words("bool char char16_t char32_t double float int long short signed unsigned "
                                        "void wchar_t")}};
    if (language == QLatin1String("glsl"))
        return {{"Function",
                 words("radians degrees sin cos tan asin acos atan sinh cosh tanh asinh acosh atanh pow exp log exp2 "
                       "log2 sqrt inversesqrt abs sign floor trunc round roundEven ceil fract mod modf min max clamp "
                       "mix step smoothstep isnan isinf floatBitsToInt floatBitsToUint intBitsToFloat "
                       "uintBitsToFloat fma frexp ldexp packUnorm2x16 packSnorm2x16 packUnorm4x8 packSnorm4x8 "
                       "unpackUnorm2x16 unpackSnorm2x16 unpackUnorm4x8 unpackSnorm4x8 packDouble2x32 "
                       "unpackDouble2x32 packHalf2x16 unpackHalf2x16 length distance dot cross normalize ftransform "
                       "faceforward reflect refract matrixCompMult outerProduct transpose determinant inverse "
                       "lessThan lessThanEqual greaterThan greaterThanEqual equal notEqual any all not uaddCarry "
                       "usubBorrow umulExtended imulExtended bitfieldExtract bitfieldInsert bitfieldReverse bitCount "
                       "findLSB findMSB textureSize textureQueryLod textureQueryLevels textureSamples texture "
                       "textureProj textureLod textureOffset texelFetch texelFetchOffset textureProjOffset "
                       "textureLodOffset textureProjLod textureProjLodOffset textureGrad textureGradOffset "
                       "textureProjGrad textureProjGradOffset textureGather textureGatherOffset "
                       "textureGatherOffsets texture1D texture1DProj texture1DLod texture1DProjLod texture2D "
                       "texture2DProj texture2DLod texture2DProjLod texture3D texture3DProj texture3DLod "
                       "texture3DProjLod textureCube textureCubeLod shadow1D shadow2D shadow1DProj shadow2DProj "
                       "shadow1DLod shadow2DLod shadow1DProjLod shadow2DProjLod atomicCounterIncrement "
                       "atomicCounterDecrement atomicCounter atomicAdd atomicMin atomicMax atomicAnd atomicOr "
                       "atomicXor atomicExchange atomicCompSwap imageSize imageSamples imageLoad imageStore "
                       "imageAtomicAdd imageAtomicMin imageAtomicMax imageAtomicAnd imageAtomicOr imageAtomicXor "
                       "imageAtomicExchange imageAtomicCompSwap dFdx dFdy dFdxFine dFdyFine dFdxCoarse dFdyCoarse "
                       "fwidth fwidthFine fwidthCoarse interpolateAtCentroid interpolateAtSample "
                       "interpolateAtOffset noise1 noise2 noise3 noise4 EmitStreamVertex EndStreamPrimitive "
                       "EndStreamPrimitive EndStreamPrimitive memoryBarrier memoryBarrierAtomicCounter "
                       "memoryBarrierBuffer memoryBarrierShared memoryBarrierImage groupMemoryBarrier")},
                {"Keyword",
                 words("attribute const uniform varying buffer shared coherent volatile restrict readonly writeonly "
                       "layout centroid flat smooth noperspective patch sample break continue do for while switch "
                       "case default if else subroutine in out inout invariant precise discard return lowp mediump "
                       "highp precision struct")},
                {"PrimitiveType",
                 words("float atomic_uint double int void bool true false mat2 mat3 mat4 dmat2 dmat3 dmat4 mat2x2 "
                       "mat2x3 mat2x4 dmat2x2 dmat2x3 dmat2x4 mat3x2 mat3x3 mat3x4 dmat3x2 dmat3x3 dmat3x4 mat4x2 "
                       "mat4x3 mat4x4 dmat4x2 dmat4x3 dmat4x4 vec2 vec3 vec4 ivec2 ivec3 ivec4 bvec2 bvec3 bvec4 "
                       "dvec2 dvec3 dvec4 uint uvec2 uvec3 uvec4 sampler1D sampler2D sampler3D samplerCube "
                       "sampler1DShadow sampler2DShadow samplerCubeShadow sampler1DArray sampler2DArray "
                       "sampler1DArrayShadow sampler2DArrayShadow sampler1D isampler2D isampler3D isamplerCube "
                       "isampler1DArray isampler2DArray usampler1D usampler2D usampler3D usamplerCube "
                       "usampler1DArray usampler2DArray sampler2DRect sampler2DRectShadow isampler2DRect "
                       "usampler2DRect samplerBuffer isamplerBuffer usamplerBuffer sampler2DMS isampler2DMS "
                       "usampler2DMS sampler2DMSArray isampler2DMSArray usampler2DMSArray samplerCubeArray "
                       "samplerCubeArrayShadow isamplerCubeArray usamplerCubeArray image1D iimage1D uimage1D "
                       "image2D iimage2D uimage2D image3D iimage3D uimage3D image2DRect iimage2DRect uimage2DRect "
                       "imageCube iimageCube uimageCube imageBuffer iimageBuffer uimageBuffer image1DArray "
                       "iimage1DArray uimage1DArray image2DArray iimage2DArray uimage2DArray imageCubeArray "
                       "iimageCubeArray uimageCubeArray image2DMS iimage2DMS uimage2DMS image2DMSArray "
                       "iimage2DMSArray uimage2DMSArray")}};
    return {};
}
