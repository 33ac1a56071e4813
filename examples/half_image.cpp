// Shades a sphere, keeps the picture in half floats, and prints it.

#include <UT/UT_NumericCast.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

static const int theWidth = 44;
static const int theHeight = 18;

// How bright the sphere is at a place from -1 to 1; 0 beside it. The light
// comes from the upper left.
static float
shade(float x, float y)
{
    const float square = 1 - x * x - y * y;
    if (square < 0)
        return 0;
    const float facing = (std::sqrt(square) - x - y) / std::sqrt(3.0f);
    return 0.2f + 0.8f * std::max(facing, 0.0f);
}

int
main()
{
    std::vector<float> exact;
    for (int row = 0; row < theHeight; ++row)
        for (int column = 0; column < theWidth; ++column)
            exact.push_back(shade(
                float(2 * column + 1 - theWidth) / theWidth,
                float(2 * row + 1 - theHeight) / theHeight));

    std::vector<fpreal16> picture(exact.size());
    UTnumericCast(picture.data(), exact.data(), exact.size());

    float error = 0;
    for (size_t i = 0; i < exact.size(); ++i)
    {
        const float value = picture[i];
        std::putchar(" .:-=+*#%@"[int(value * 9.99f)]);
        if (int(i) % theWidth == theWidth - 1)
            std::putchar('\n');
        error = std::max(error, std::fabs(value - exact[i]));
    }
    std::printf(
        "%zu bytes instead of %zu; off by less than 1/2000: %s\n",
        picture.size() * sizeof(fpreal16), exact.size() * sizeof(float),
        error < 1.0f / 2000 ? "yes" : "no");
    return 0;
}
