-- A small shop: five tables and a view, the same rows whenever it is built.
--   sqlite3 shop.db < shop.sql
BEGIN;

CREATE TABLE categories (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL UNIQUE
);

CREATE TABLE products (
  id INTEGER PRIMARY KEY,
  category_id INTEGER NOT NULL REFERENCES categories (id),
  name TEXT NOT NULL,
  price_cents INTEGER NOT NULL CHECK (price_cents > 0),
  in_stock INTEGER NOT NULL DEFAULT 0
);

CREATE TABLE customers (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  email TEXT NOT NULL UNIQUE,
  city TEXT NOT NULL,
  joined_on DATE NOT NULL
);

CREATE TABLE orders (
  id INTEGER PRIMARY KEY,
  customer_id INTEGER NOT NULL REFERENCES customers (id),
  ordered_on DATE NOT NULL,
  status TEXT NOT NULL CHECK (status IN ('open', 'paid', 'shipped', 'returned'))
);

CREATE TABLE order_lines (
  order_id INTEGER NOT NULL REFERENCES orders (id),
  line_number INTEGER NOT NULL,
  product_id INTEGER NOT NULL REFERENCES products (id),
  quantity INTEGER NOT NULL CHECK (quantity > 0),
  unit_price_cents INTEGER NOT NULL,
  PRIMARY KEY (order_id, line_number)
) WITHOUT ROWID;

CREATE INDEX orders_by_customer ON orders (customer_id);
CREATE INDEX order_lines_by_product ON order_lines (product_id);

CREATE VIEW customer_turnover AS
SELECT customers.id AS customer_id,
       customers.name AS customer_name,
       count(DISTINCT orders.id) AS order_count,
       sum(order_lines.quantity * order_lines.unit_price_cents) AS total_cents
FROM customers
JOIN orders ON orders.customer_id = customers.id
JOIN order_lines ON order_lines.order_id = orders.id
WHERE orders.status <> 'returned'
GROUP BY customers.id;

INSERT INTO categories (name) VALUES ('Coffee'), ('Tea'), ('Brewing'), ('Cups'), ('Sweets');

INSERT INTO products (category_id, name, price_cents, in_stock) VALUES
  (1, 'House Blend 250 g', 690, 120), (1, 'Ethiopia Sidamo 250 g', 890, 64), (1, 'Colombia Huila 250 g', 850, 71),
  (1, 'Sumatra Mandheling 250 g', 920, 33), (1, 'Decaf Peru 250 g', 940, 41), (1, 'Espresso Roast 1 kg', 2390, 58),
  (2, 'Earl Grey 100 g', 520, 90), (2, 'Sencha 100 g', 780, 45), (2, 'Darjeeling First Flush 100 g', 1190, 22),
  (2, 'Rooibos 100 g', 430, 77), (2, 'Peppermint 50 g', 350, 102),
  (3, 'French Press 1 l', 2990, 18), (3, 'Pour-Over Cone', 1490, 26), (3, 'Paper Filters, 100', 390, 210),
  (3, 'Hand Grinder', 4590, 12), (3, 'Gooseneck Kettle', 5490, 9), (3, 'Moka Pot, 6 cups', 3290, 15),
  (4, 'Espresso Cup', 790, 84), (4, 'Stoneware Mug', 1290, 66), (4, 'Travel Tumbler', 2190, 31),
  (4, 'Tea Bowl', 1690, 27),
  (5, 'Cantuccini 200 g', 490, 95), (5, 'Dark Chocolate 70 %', 320, 140), (5, 'Shortbread 150 g', 410, 88);

-- 120 customers: names from two lists whose lengths share no factor, so no pair comes twice.
WITH RECURSIVE
  first_names (place, name) AS (VALUES
    (0, 'Anna'), (1, 'Ben'), (2, 'Clara'), (3, 'David'), (4, 'Elif'), (5, 'Felix'), (6, 'Greta'), (7, 'Hugo'),
    (8, 'Ines'), (9, 'Jonas'), (10, 'Katarzyna'), (11, 'Luca'), (12, 'Maria'), (13, 'Noah'), (14, 'Olga'), (15, 'Paul')),
  last_names (place, name) AS (VALUES
    (0, 'Almeida'), (1, 'Berger'), (2, 'Costa'), (3, 'Dubois'), (4, 'Eriksson'), (5, 'Fischer'), (6, 'Garcia'),
    (7, 'Horvath'), (8, 'Ivanova'), (9, 'Jansen'), (10, 'Kowalska'), (11, 'Lindgren'), (12, 'Moreau'), (13, 'Novak'),
    (14, 'Okafor')),
  cities (place, name) AS (VALUES
    (0, 'Berlin'), (1, 'Lisbon'), (2, 'Lyon'), (3, 'Malmö'), (4, 'Kraków'), (5, 'Vienna'), (6, 'Zürich')),
  numbers (n) AS (SELECT 0 UNION ALL SELECT n + 1 FROM numbers WHERE n < 119)
INSERT INTO customers (name, email, city, joined_on)
SELECT first_names.name || ' ' || last_names.name,
       lower(first_names.name) || '.' || lower(last_names.name) || '@example.com',
       cities.name,
       date('2022-01-03', (n * 8) || ' days')
FROM numbers
JOIN first_names ON first_names.place = n % 16
JOIN last_names ON last_names.place = n % 15
JOIN cities ON cities.place = (n + n / 3) % 7
ORDER BY n;

-- 400 orders over two years; low customer numbers order more often.
WITH RECURSIVE numbers (n) AS (SELECT 0 UNION ALL SELECT n + 1 FROM numbers WHERE n < 399)
INSERT INTO orders (customer_id, ordered_on, status)
SELECT 1 + n * 37 % (20 + n % 101),
       date('2024-01-02', (n * 73 / 40) || ' days'),
       CASE WHEN n >= 385 THEN 'open' WHEN n >= 370 THEN 'paid' WHEN n % 29 = 0 THEN 'returned' ELSE 'shipped' END
FROM numbers
ORDER BY n;

-- One to four lines each, at today's prices.
WITH RECURSIVE lines (order_id, line_number) AS (
  SELECT id, 1 FROM orders
  UNION ALL
  SELECT order_id, line_number + 1 FROM lines WHERE line_number < 1 + order_id * 7 % 4)
INSERT INTO order_lines (order_id, line_number, product_id, quantity, unit_price_cents)
SELECT order_id, line_number, products.id, 1 + (order_id + line_number) % 3, products.price_cents
FROM lines
JOIN products ON products.id = 1 + (order_id * 11 + line_number * 5) % 24
ORDER BY order_id, line_number;

COMMIT;
