// A web server for tests: pages by path, each with its headers.

import http from "node:http";

// `pages` maps a path to {body, headers}, or is a function that does.
export async function serve(pages) {
    const pageOf = typeof pages === "function"
        ? pages
        : (name) => Object.hasOwn(pages, name) ? pages[name] : null;
    const server = http.createServer(async (request, response) => {
        const name = new URL(request.url, "http://localhost").pathname;
        const page = await pageOf(name);
        const headers = { "Content-Type": "text/html; charset=utf-8" };
        response.writeHead(page ? 200 : 404, { ...headers, ...page?.headers });
        response.end(page?.body ?? "");
    });
    await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
    const { port } = server.address();
    return {
        origin: `http://127.0.0.1:${port}`,
        otherName: `http://localhost:${port}`,
        close() {
            server.closeAllConnections?.();
            server.close();
        },
    };
}
