// What the options page and the toolbar button say, without a document.

function seconds(count) {
    return count === 1 ? "1 second" : `${count} seconds`;
}

// One sentence on the state of a site, at the time `now`.
export function describeSite(site, now) {
    const { isConnected, calls, since } = site;
    if (!isConnected)
        return "Not connected.";
    if (calls === 0)
        return "Connected; no call is under way.";
    const some = calls === 1 ? "1 call" : `${calls} calls`;
    const waited = Math.max(0, Math.floor((now - since) / 1000));
    return `Connected; ${some} under way for ${seconds(waited)}.`;
}

function bad(text) {
    return { isGood: false, text };
}

function good(text) {
    return { isGood: true, text };
}

function parse(text) {
    try {
        return JSON.parse(text) ?? {};
    } catch {
        return {};
    }
}

// The lines of a test's result: what was found, and what to do about what is
// missing. `answer` has the text of the host, or the error that came instead.
export function describeCheck(answer, port) {
    if (!answer || answer.error) {
        const why = answer?.error?.message ?? "It gave no answer.";
        return [bad(
            "The host program valdrin-bridge does not answer. Install " +
            'Valdrin Connection and run "valdrin-bridge --check". ' +
            `(${why})`)];
    }
    const found = parse(answer.text);
    const lines = [good(`The host program answers (version ${found.bridge}).`)];
    if (found.libraryProblem || !found.library) {
        lines.push(bad(
            "The library cannot be used: " +
            `${found.libraryProblem ?? "it was not found"}. Install Valdrin ` +
            "Connection anew."));
        return lines;
    }
    lines.push(good(`The library is loaded: ${found.library}`));
    if (found.application) {
        lines.push(good(`The application listens on port ${port}.`));
    } else {
        const why = found.applicationProblem;
        lines.push(bad(
            `No application listens on port ${port}${why ? `: ${why}` : ""}. ` +
            "Start Valdrin, or valdrin-standin, which plays its part."));
    }
    return lines;
}
