// Types of what the browser extension Valdrin Connection gives to the pages
// that its user allows. It is there before the first script of the page:
//
//     if (typeof ValdrinConnection === "function") {
//         const valdrin = new ValdrinConnection();
//         console.log(await valdrin.Run("echo hi"));
//     }

/**
 * Why a call was rejected.
 *
 * - `origin`: the site of the page is not allowed, or not any more.
 * - `argument`: an argument has the wrong type, contains a NUL character, or
 *   is longer than 1,048,576 UTF-16 units.
 * - `port`: the port is not among those that the user listed for the site.
 * - `busy`: more than 256 calls of the page are waiting.
 * - `host`: the program between browser and application is missing, has ended
 *   or was disconnected by the user, or the reply was longer than
 *   67,108,864 units.
 * - `component`: the connection component itself reported a failure.
 * - `disconnected`: the page was left, or the extension removed or updated.
 */
type ValdrinConnectionErrorCode =
    | "origin"
    | "argument"
    | "port"
    | "busy"
    | "host"
    | "component"
    | "disconnected";

/** What calls are rejected with, except by an `AbortSignal`. */
interface ValdrinConnectionError extends Error {
    readonly name: "ValdrinConnectionError";
    readonly code: ValdrinConnectionErrorCode;
}

interface ValdrinConnectionOptions {
    /**
     * Aborting rejects the call with the signal's reason at once. A call that
     * still waits in the page is never sent; any other runs to its end, and
     * its answer is dropped.
     */
    readonly signal?: AbortSignal | undefined;
}

/**
 * A connection to the application on this machine. All instances in the pages
 * of a site share one port, one stash and one order: a call waits for those
 * made before it.
 */
declare class ValdrinConnection {
    /**
     * Runs a vscript command and resolves with its reply. An application that
     * does not run is not an error: the reply is then "ERROR: Could not
     * connect to Valdrin to run command".
     */
    Run(command: string, options?: ValdrinConnectionOptions): Promise<string>;

    /**
     * Runs Python statements. Whatever the application answers is dropped,
     * failures too.
     */
    RunPythonStatements(statements: string): Promise<void>;

    /**
     * Evaluates a Python expression and resolves with its value as text. An
     * application that does not run is answered as by `Run`.
     */
    RunPythonExpression(
        expression: string,
        options?: ValdrinConnectionOptions,
    ): Promise<string>;

    /** Keeps one text for later calls, in this page and the next ones. */
    StashString(text: string): Promise<void>;

    /** The text that was kept last; "" when there is none. */
    GetStashedString(): Promise<string>;

    /**
     * Sets the application's port for all later calls. It is 32153 before, or
     * the lowest that the user listed for the site when 32153 is not among
     * them. Only ports that are listed are accepted.
     */
    SetSocketPortNum(port: number): Promise<void>;
}

interface Window {
    /** Undefined where the extension is missing or the site not allowed. */
    readonly ValdrinConnection?: typeof ValdrinConnection;
}
