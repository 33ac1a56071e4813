// Counts prime numbers, a block of numbers for each job, with as many workers
// as there are processors.

#include <UT/UT_Lock.h>
#include <UT/UT_Thread.h>
#include <UT/UT_ThreadSet.h>

#include <cstdio>
#include <vector>

static UT_Lock theTotalLock(UT_STATIC_LOCK);
static int theTotal = 0; // guarded by theTotalLock

struct Block
{
    int first;
    int end;
};

static bool
isPrime(int number)
{
    for (int divisor = 2; divisor <= number / divisor; ++divisor)
        if (number % divisor == 0)
            return false;
    return number > 1;
}

// A job. Each one counts by itself, and takes the lock only once.
static void *
countPrimes(void *data)
{
    const Block &block = *static_cast<const Block *>(data);
    int count = 0;
    for (int number = block.first; number < block.end; ++number)
        count += isPrime(number) ? 1 : 0;
    theTotalLock.lock();
    theTotal += count;
    theTotalLock.unlock();
    return nullptr;
}

int
main()
{
    std::vector<Block> blocks;
    for (int first = 0; first < 200000; first += 5000)
        blocks.push_back({first, first + 5000});

    UT_ThreadFarm farm;
    for (Block &block : blocks)
        farm.nextThread(nullptr, /*block=*/1)->startThread(countPrimes, &block);
    farm.wait();
    std::printf("%d primes below 200000\n", theTotal);
    return 0;
}
