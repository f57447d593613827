// A small shop: as the instructions describe it, and as SQLite keeps it.
#pragma once

#include <string_view>

constexpr std::string_view kShopInstructions =
    "Answer in SQL.\n\n"
    "CREATE TABLE `main`.`customers` (`id` INTEGER, `name` TEXT, `country` TEXT, PRIMARY KEY(`id`))\n"
    "CREATE TABLE `main`.`orders` (`id` INTEGER, `customer_id` INTEGER, `order_date` TEXT, `status` VARCHAR(20), "
    "PRIMARY KEY(`id`), FOREIGN KEY(`customer_id`) REFERENCES `main`.`customers`(`id`))\n"
    "CREATE TABLE `main`.`products` (`id` INTEGER, `name` TEXT, `category` TEXT, `price` DECIMAL(10,2), "
    "PRIMARY KEY(`id`))\n"
    "CREATE TABLE `main`.`order_lines` (`order_id` INTEGER, `product_id` INTEGER, `quantity` INTEGER, "
    "`unit_price` DECIMAL(10,2), PRIMARY KEY(`order_id``product_id`), "
    "FOREIGN KEY(`order_id`) REFERENCES `main`.`orders`(`id`), "
    "FOREIGN KEY(`product_id`) REFERENCES `main`.`products`(`id`))\n"
    "CREATE TABLE `main`.`shipments` (`order_id` INTEGER, `product_id` INTEGER, `Weight kg` REAL, "
    "FOREIGN KEY(`order_id``product_id`) REFERENCES `main`.`order_lines`(`order_id``product_id`))\n"
    "CREATE VIEW `main`.`open_orders` (`id` INTEGER, `order_date` TEXT)\n\n";

constexpr const char* kShopDatabase = R"(
CREATE TABLE customers (id INTEGER PRIMARY KEY, name TEXT, country TEXT);
CREATE TABLE orders (id INTEGER PRIMARY KEY, customer_id INTEGER REFERENCES customers(id), order_date TEXT,
                     status VARCHAR(20));
CREATE TABLE products (id INTEGER PRIMARY KEY, name TEXT, category TEXT, price DECIMAL(10,2));
CREATE TABLE order_lines (order_id INTEGER REFERENCES orders(id), product_id INTEGER REFERENCES products(id),
                          quantity INTEGER, unit_price DECIMAL(10,2), PRIMARY KEY(order_id, product_id));
CREATE TABLE shipments (order_id INTEGER, product_id INTEGER, "Weight kg" REAL,
                        FOREIGN KEY(order_id, product_id) REFERENCES order_lines(order_id, product_id));
CREATE VIEW open_orders AS SELECT id, order_date FROM orders WHERE status = 'open';
INSERT INTO customers VALUES (1, 'Ada', 'UK'), (2, 'Blaise', 'FR'), (3, 'Carl', 'UK');
INSERT INTO orders VALUES (10, 1, '2024-01-05', 'open'), (11, 1, '2024-03-01', 'done'), (12, 2, '2024-02-01', 'open');
INSERT INTO products VALUES (100, 'Pen', 'paper', 2), (101, 'Ink', 'paper', 5), (102, 'Lamp', 'light', 40);
INSERT INTO order_lines VALUES (10, 100, 10, 2), (10, 102, 1, 40), (11, 101, 3, 5), (12, 100, 4, 2);
INSERT INTO shipments VALUES (10, 100, 0.5), (10, 102, 3), (12, 100, 0.25);
)";
