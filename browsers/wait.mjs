// Waiting for what happens elsewhere: asks again and again, up to a deadline
// that only a failure reaches.

export const DEADLINE_MS = 120000;

export async function waitFor(what, question) {
    const deadline = Date.now() + DEADLINE_MS;
    for (;;) {
        const answer = await question();
        if (answer)
            return answer;
        if (Date.now() > deadline)
            throw new Error(`waited in vain for ${what}`);
        await new Promise((resolve) => setTimeout(resolve, 25));
    }
}

// The exit of a child process, whether it comes or has come.
export function ended(child) {
    if (child.exitCode !== null || child.signalCode !== null)
        return Promise.resolve();
    return new Promise((resolve) => child.once("exit", resolve));
}
