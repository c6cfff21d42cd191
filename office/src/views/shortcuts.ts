// The key "/" goes to the search of the view.

addEventListener('keydown', (event) => {
  const isTyping = event.target instanceof HTMLElement && event.target.matches('input, textarea, select');
  if (event.key !== '/' || event.ctrlKey || event.metaKey || event.altKey || isTyping) return;
  const search = document.querySelector<HTMLInputElement>('main input[type=search]');
  if (!search) return;
  event.preventDefault();
  search.focus();
});
